import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Dialogs
import Brisko.UI
import Brisko.FileManager

// One folder as an inset-grouped list: swipe a row left for rename and delete, or right-click
// it; Delete and F2 act on the selected row; files dropped on the list are imported.
Rectangle {
    id: root
    required property FBFileBrowserViewController controller
    color: SystemColors.systemGroupedBackground

    // A row's face: icon or thumbnail, name, detail, disclosure and separator.
    component RowContent: Item {
        id: content
        required property var modelData
        property bool isLast: false
        property color rowColor: "white"

        Item {
            id: iconBox
            x: 16
            width: 52
            height: parent.height
            SymbolImage {
                anchors.centerIn: parent
                width: 26
                height: 26
                visible: thumbnail.status !== Image.Ready
                name: content.modelData.symbol
                pointSize: 20
                tint: SystemColors.named(content.modelData.tint)
            }
            Image {
                id: thumbnail
                objectName: "thumbnail"
                anchors.centerIn: parent
                width: 52
                height: 52
                source: content.modelData.thumbnail
                asynchronous: true
                cache: false
                fillMode: Image.PreserveAspectFit
                sourceSize.width: 112
                sourceSize.height: 112
            }
            Rectangle {
                // 6-point corners: a ring in the row's colour covers the image's corners.
                readonly property real ring: 4
                anchors.centerIn: parent
                visible: thumbnail.status === Image.Ready
                width: thumbnail.paintedWidth + 2 * ring
                height: thumbnail.paintedHeight + 2 * ring
                radius: 6 + ring
                color: "transparent"
                border.width: ring
                border.color: content.rowColor
            }
        }
        Column {
            x: iconBox.x + iconBox.width + 12
            width: parent.width - x - (content.modelData.isDir ? 40 : 16)
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3
            Text {
                width: parent.width
                elide: Text.ElideMiddle
                maximumLineCount: 1
                text: content.modelData.name.replace(/\n/g, "\u21B5")
                // Rasterized glyphs: distance-field text costs a software-rendered frame a third more.
                renderType: Text.NativeRendering
                font.pixelSize: 17
                color: SystemColors.label
            }
            Text {
                width: parent.width
                elide: Text.ElideRight
                text: content.modelData.detail
                renderType: Text.NativeRendering
                font.pixelSize: 12
                color: SystemColors.secondaryLabel
            }
        }
        SymbolImage {
            visible: content.modelData.isDir
            anchors.right: parent.right
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            name: "chevron.right"
            pointSize: 15
            tint: "#C4C4C7"
        }
        Rectangle {
            visible: !content.isLast
            x: iconBox.x + iconBox.width + 12
            width: parent.width - x
            height: 0.5
            anchors.bottom: parent.bottom
            color: SystemColors.separator
        }
    }

    component FileRow: SwipeDelegate {
        id: row
        required property var modelData
        required property int index
        readonly property bool isLast: ListView.view ? index === ListView.view.count - 1 : false
        readonly property bool selected: ListView.isCurrentItem
        signal tapped()
        signal renameTapped()
        signal deleteTapped()
        signal contextMenuRequested(real x, real y)

        readonly property color rowColor: pressed ? "#D1D1D6"
                                          : selected ? "#E5E5EA" : SystemColors.secondarySystemGroupedBackground
        x: 16
        width: ListView.view ? ListView.view.width - 32 : 0
        height: 60
        padding: 0
        // A swiped row slides within its own bounds, not over the list's margin; rows at rest stay
        // unclipped so the renderer can batch them.
        clip: row.swipe.position !== 0

        background: Rectangle {
            color: row.rowColor
            radius: row.index === 0 || row.isLast ? 10 : 0
            // Square off the corners that meet a neighbouring row.
            Rectangle {
                visible: !(row.index === 0 && row.isLast) && (row.index === 0 || row.isLast)
                width: parent.width
                height: parent.radius
                y: row.index === 0 ? parent.height - height : 0
                color: parent.color
            }
        }

        contentItem: RowContent {
            modelData: row.modelData
            isLast: row.isLast
            rowColor: row.rowColor
        }

        swipe.right: Row {
            anchors.right: parent.right
            height: parent.height
            Rectangle {
                objectName: "swipeRename"
                width: 80
                height: parent.height
                color: SystemColors.systemOrange
                Text {
                    anchors.centerIn: parent
                    text: "重命名"
                    color: "#FFFFFF"
                    font.pixelSize: 15
                }
                MouseArea {
                    anchors.fill: parent
                    onClicked: {
                        row.swipe.close() // qmllint disable unqualified
                        row.renameTapped() // qmllint disable unqualified
                    }
                }
            }
            Rectangle {
                objectName: "swipeDelete"
                width: 80
                height: parent.height
                color: SystemColors.systemRed
                Text {
                    anchors.centerIn: parent
                    text: "删除"
                    color: "#FFFFFF"
                    font.pixelSize: 15
                }
                MouseArea {
                    anchors.fill: parent
                    onClicked: {
                        row.swipe.close() // qmllint disable unqualified
                        row.deleteTapped() // qmllint disable unqualified
                    }
                }
            }
        }

        onClicked: row.tapped()
        // Takes the right button away from the delegate, which would otherwise open the row too.
        MouseArea {
            anchors.fill: parent
            acceptedButtons: Qt.RightButton
            onClicked: (mouse) => row.contextMenuRequested(mouse.x, mouse.y)
        }
    }

    // The row whose trailing actions stand open, as a swipe to the left leaves them; -1 for none.
    property int revealedRow: -1

    ListView {
        id: list
        objectName: "fileList"
        anchors.fill: parent
        topMargin: 18
        bottomMargin: 18
        model: root.controller.rows
        // The row Delete and F2 act on: only a tapped row, never one a reload lands on.
        currentIndex: -1
        highlightFollowsCurrentItem: false
        focus: true
        reuseItems: true
        boundsBehavior: Flickable.DragOverBounds
        // The Qt 6.4 linter cannot follow ids into a delegate (6.5 with ComponentBehavior: Bound can); a
        // ListView has no itemAdded to wire rows from outside as InsetGroupedList does.
        // qmllint disable unqualified
        delegate: FileRow {
            id: fileRow
            readonly property bool revealed: root.revealedRow === fileRow.index
            onRevealedChanged: if (fileRow.revealed) fileRow.swipe.open(SwipeDelegate.Right)
            Component.onCompleted: if (fileRow.revealed) fileRow.swipe.open(SwipeDelegate.Right)
            onTapped: {
                list.currentIndex = fileRow.index
                list.forceActiveFocus()
                root.controller.didSelectRow(fileRow.index)
            }
            onRenameTapped: root.controller.renameItemAtIndex(fileRow.index)
            onDeleteTapped: root.controller.deleteItemAtIndex(fileRow.index)
            onContextMenuRequested: (x, y) => {
                list.currentIndex = fileRow.index
                rowMenu.row = fileRow.index
                rowMenu.popup(fileRow, x, y)
            }
        }
        // qmllint enable unqualified
        onDragEnded: if (contentY < -topMargin - 64) root.controller.pullToRefresh()

        Keys.onPressed: (event) => {
            if (list.currentIndex < 0) return
            if (event.key === Qt.Key_Delete) {
                root.controller.deleteItemAtIndex(list.currentIndex)
                event.accepted = true
            } else if (event.key === Qt.Key_F2) {
                root.controller.renameItemAtIndex(list.currentIndex)
                event.accepted = true
            }
        }

        onCountChanged: list.currentIndex = -1
    }

    Menu {
        id: rowMenu
        property int row: -1
        MenuItem {
            text: "重命名"
            onTriggered: root.controller.renameItemAtIndex(rowMenu.row)
        }
        MenuItem {
            text: "删除"
            onTriggered: root.controller.deleteItemAtIndex(rowMenu.row)
        }
    }

    FileDialog {
        id: importDialog
        fileMode: FileDialog.OpenFiles
        onAccepted: {
            const picked = []
            for (let i = 0; i < importDialog.selectedFiles.length; ++i)
                picked.push(importDialog.selectedFiles[i].toString())
            root.controller.importPaths(picked)
        }
    }

    DropArea {
        anchors.fill: parent
        onDropped: (drop) => {
            if (!drop.hasUrls) return
            const dropped = []
            for (let i = 0; i < drop.urls.length; ++i)
                dropped.push(drop.urls[i].toString())
            root.controller.importPaths(dropped)
        }
    }

    Connections {
        target: root.controller
        function onImportRequested() { importDialog.open() }
    }
}
