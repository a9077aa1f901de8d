import QtQuick
import Brisko.UI

// The inset-grouped table. sections: [{title, showsHeader, headerHeight, rows: [{l, v, i, tint,
// style, accessory, switchOn, switchEnabled, selectable}]}], reloaded whole when it changes.
Flickable {
    id: list
    property var sections: []
    property real cardMargin: 16
    property Component footer: null // drawn below the last section
    signal rowClicked(int section, int row)
    signal switchToggled(int section, int row, bool on)

    contentWidth: width
    contentHeight: content.implicitHeight
    boundsBehavior: Flickable.DragOverBounds

    Column {
        id: content
        width: list.width

        Repeater {
            model: list.sections
            delegate: Column {
                id: sectionColumn
                required property var modelData
                required property int index
                width: content.width

                Item {
                    objectName: "header_" + sectionColumn.index
                    property string title: sectionColumn.modelData.showsHeader ? sectionColumn.modelData.title : ""
                    width: parent.width
                    height: sectionColumn.modelData.headerHeight
                    Text {
                        visible: sectionColumn.modelData.showsHeader
                        x: 20
                        width: Math.max(0, parent.width - 40)
                        anchors.bottom: parent.bottom
                        anchors.bottomMargin: 4
                        elide: Text.ElideRight
                        text: sectionColumn.modelData.title
                        font.pixelSize: 15
                        font.weight: Font.DemiBold
                        color: SystemColors.secondaryLabel
                    }
                }

                Rectangle {
                    x: list.cardMargin
                    width: parent.width - 2 * list.cardMargin
                    height: rowsColumn.implicitHeight
                    radius: 10
                    color: SystemColors.secondarySystemGroupedBackground

                    Column {
                        id: rowsColumn
                        width: parent.width
                        Repeater {
                            model: sectionColumn.modelData.rows
                            delegate: ListCell {
                                required property var modelData
                                required property int index
                                objectName: "row_" + sectionColumn.index + "_" + index
                                width: rowsColumn.width
                                text: modelData.l
                                secondaryText: modelData.v
                                symbol: modelData.i
                                tint: SystemColors.named(modelData.tint)
                                cellStyle: modelData.style
                                accessory: modelData.accessory
                                switchOn: modelData.switchOn
                                switchEnabled: modelData.switchEnabled
                                selectable: modelData.selectable
                                showsSeparator: index < sectionColumn.modelData.rows.length - 1
                                onClicked: list.rowClicked(sectionColumn.index, index)
                                onSwitchToggled: (on) => list.switchToggled(sectionColumn.index, index, on)
                            }
                        }
                    }
                }
            }
        }

        Loader {
            width: content.width
            sourceComponent: list.footer
        }
    }
}
