import QtQuick
import QtQuick.Controls.Basic
import Brisko.UI
import Brisko.LogViewer

// The log, one delegate per line in view; a drag selects across lines, Ctrl+C copies it,
// Ctrl+F opens the find bar. Stays pinned to the end while the user has not scrolled up.
Rectangle {
    id: root
    required property BKLogViewController controller
    color: SystemColors.systemGroupedBackground
    focus: true

    property bool pinnedToEnd: true
    property bool autoScrolling: false
    // The selection as (line, column) pairs; anchorLine -1 when nothing is selected.
    property int anchorLine: -1
    property int anchorColumn: 0
    property int cursorLine: -1
    property int cursorColumn: 0

    function scrollToEnd() {
        autoScrolling = true
        list.positionViewAtEnd()
        autoScrolling = false
    }

    function positionAt(x, y) {
        const item = list.itemAt(x, y + list.contentY)
        if (!item)
            return y + list.contentY < 0 ? { line: 0, column: 0 } : { line: list.count - 1, column: 1 << 30 }
        const line = item
        const local = root.mapToItem(line.textItem, x, y)
        return { line: line.index, column: line.textItem.positionAt(local.x, local.y) }
    }

    function select(line, column, extend) {
        if (!extend) {
            anchorLine = line
            anchorColumn = column
        }
        cursorLine = line
        cursorColumn = column
        controller.setSelection(anchorLine, anchorColumn, cursorLine, cursorColumn)
    }

    Keys.onPressed: event => {
        const control = (event.modifiers & Qt.ControlModifier) !== 0
        if (control && event.key === Qt.Key_C && anchorLine >= 0) {
            root.controller.copySelection(anchorLine, anchorColumn, cursorLine, cursorColumn)
            event.accepted = true
        } else if (control && event.key === Qt.Key_F) {
            root.controller.beginFind()
            findField.forceActiveFocus()
            event.accepted = true
        }
    }

    // A find match over a span of a line's text; the current one stands out.
    component MatchMark: Rectangle {
        required property var modelData
        property TextEdit edit
        readonly property rect from: edit ? edit.positionToRectangle(modelData.from) : Qt.rect(0, 0, 0, 0)
        readonly property rect to: edit ? edit.positionToRectangle(modelData.to) : Qt.rect(0, 0, 0, 0)
        x: (edit ? edit.x : 0) + from.x
        y: from.y
        width: to.y === from.y ? to.x - from.x : (edit ? edit.width : 0) - from.x
        height: from.height
        color: modelData.current ? SystemColors.systemOrange : Qt.rgba(1, 0.8, 0, 0.45)
    }

    // One line with what it shows of the find matches and of the selection.
    component LogLine: Item {
        id: lineItem
        required property int index
        required property string text
        required property string fontFamily
        required property int fontPixelSize
        // Character spans [from, to) of this line.
        required property var selection
        required property var matches
        readonly property TextEdit textItem: edit
        width: ListView.view ? ListView.view.width : 0
        height: edit.height

        Repeater {
            model: lineItem.matches
            delegate: MatchMark {}
            onItemAdded: (index, item) => {
                const mark = item
                mark.edit = edit
            }
        }

        TextEdit {
            id: edit
            x: 12
            width: lineItem.width - 24
            readOnly: true
            selectByMouse: false
            activeFocusOnPress: false
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.WrapAnywhere
            text: lineItem.text
            font.family: lineItem.fontFamily
            font.pixelSize: lineItem.fontPixelSize
            color: SystemColors.label
            selectionColor: Qt.rgba(0, 0.478, 1, 0.3)
            selectedTextColor: SystemColors.label
        }

        onSelectionChanged: edit.select(selection[0], Math.min(selection[1], edit.length))
        Component.onCompleted: edit.select(selection[0], Math.min(selection[1], edit.length))
    }

    ListView {
        id: list
        objectName: "logList"
        anchors.fill: parent
        anchors.topMargin: 10 + (findBar.visible ? findBar.height : 0)
        anchors.bottomMargin: 10
        clip: true
        interactive: false
        model: root.controller.lines
        delegate: LogLine {}
        ScrollBar.vertical: ScrollBar {}
        onContentYChanged: if (!root.autoScrolling) root.pinnedToEnd = atYEnd
        onCountChanged: if (root.pinnedToEnd) root.scrollToEnd()
        onHeightChanged: if (root.pinnedToEnd) root.scrollToEnd()
        Component.onCompleted: root.scrollToEnd()
    }

    MouseArea {
        anchors.fill: list
        cursorShape: Qt.IBeamCursor
        onPressed: mouse => {
            root.forceActiveFocus()
            const at = root.positionAt(mouse.x, mouse.y)
            root.select(at.line, at.column, false)
        }
        onPositionChanged: mouse => {
            const at = root.positionAt(mouse.x, mouse.y)
            root.select(at.line, at.column, true)
        }
        onWheel: wheel => {
            const top = list.originY
            const bottom = Math.max(top, list.originY + list.contentHeight - list.height)
            list.contentY = Math.max(top, Math.min(bottom, list.contentY - wheel.angleDelta.y))
        }
    }

    Component.onCompleted: root.controller.matchChanged.connect(() => {
        if (root.controller.matchLine >= 0)
            list.positionViewAtIndex(root.controller.matchLine, ListView.Center)
    })

    Rectangle {
        id: findBar
        visible: root.controller.findActive
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: 44
        color: SystemColors.barBackground

        Rectangle {
            anchors.left: parent.left
            anchors.right: status.left
            anchors.verticalCenter: parent.verticalCenter
            anchors.margins: 8
            height: 32
            radius: 8
            color: SystemColors.secondarySystemGroupedBackground
            TextInput {
                id: findField
                objectName: "findField"
                anchors.fill: parent
                anchors.leftMargin: 8
                verticalAlignment: TextInput.AlignVCenter
                font.pixelSize: 15
                clip: true
                text: root.controller.findText
                onAccepted: root.controller.find(text, true, list.indexAt(0, list.contentY + 1))
                Keys.onPressed: event => {
                    if (event.key === Qt.Key_Escape) {
                        root.controller.endFind()
                        root.forceActiveFocus()
                        event.accepted = true
                    } else if ((event.key === Qt.Key_Return || event.key === Qt.Key_Enter)
                               && (event.modifiers & Qt.ShiftModifier)) {
                        root.controller.find(text, false, list.indexAt(0, list.contentY + 1))
                        event.accepted = true
                    }
                }
            }
        }
        Text {
            id: caseToggle
            objectName: "findCaseToggle"
            anchors.right: previous.left
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            text: "Aa"
            color: root.controller.caseSensitive ? SystemColors.systemBlue : SystemColors.secondaryLabel
            font.pixelSize: 15
            font.underline: root.controller.caseSensitive
            MouseArea {
                anchors.fill: parent
                anchors.margins: -8
                onClicked: root.controller.caseSensitive = !root.controller.caseSensitive
            }
        }
        Text {
            id: status
            anchors.right: caseToggle.left
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            text: root.controller.searching ? "…" : root.controller.findStatus
            color: SystemColors.secondaryLabel
            font.pixelSize: 14
        }
        Text {
            id: previous
            anchors.right: next.left
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            text: "▲"
            color: SystemColors.systemBlue
            font.pixelSize: 16
            MouseArea {
                anchors.fill: parent
                anchors.margins: -8
                onClicked: root.controller.find(findField.text, false, list.indexAt(0, list.contentY + 1))
            }
        }
        Text {
            id: next
            anchors.right: parent.right
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            text: "▼"
            color: SystemColors.systemBlue
            font.pixelSize: 16
            MouseArea {
                anchors.fill: parent
                anchors.margins: -8
                onClicked: root.controller.find(findField.text, true, list.indexAt(0, list.contentY + 1))
            }
        }
    }
}
