import QtQuick
import Brisko.UI

// The inset-grouped table. sections: [{title, showsHeader, headerHeight, rows: [{l, v, i, tint,
// style, accessory, switchOn, switchEnabled, selectable}]}], reloaded whole when it changes.
// Delegates are self-contained; the list wires them up as they are made.
Flickable {
    id: list
    property var sections: []
    property real cardMargin: 16
    // Drawn below the last section.
    property alias footer: footerSlot.data
    signal rowClicked(int section, int row)
    signal switchToggled(int section, int row, bool on)

    contentWidth: width
    contentHeight: content.implicitHeight
    boundsBehavior: Flickable.DragOverBounds

    component SectionView: Column {
        id: section
        required property var modelData
        required property int index
        property real cardMargin: 16
        signal rowClicked(int row)
        signal switchToggled(int row, bool on)
        width: parent ? parent.width : 0

        Item {
            objectName: "header_" + section.index
            property string title: section.modelData.showsHeader ? section.modelData.title : ""
            width: parent.width
            height: section.modelData.headerHeight
            Text {
                visible: section.modelData.showsHeader
                x: 20
                width: Math.max(0, parent.width - 40)
                anchors.bottom: parent.bottom
                anchors.bottomMargin: 4
                elide: Text.ElideRight
                text: section.modelData.title
                font.pixelSize: 15
                font.weight: Font.DemiBold
                color: SystemColors.secondaryLabel
            }
        }

        Rectangle {
            x: section.cardMargin
            width: parent.width - 2 * section.cardMargin
            height: rowsColumn.implicitHeight
            radius: 10
            color: SystemColors.secondarySystemGroupedBackground

            Column {
                id: rowsColumn
                width: parent.width
                Repeater {
                    model: section.modelData.rows
                    delegate: RowCell {}
                    onItemAdded: (row, item) => {
                        const cell = item
                        cell.objectName = "row_" + section.index + "_" + row
                        cell.showsSeparator = row < section.modelData.rows.length - 1
                        cell.clicked.connect(() => section.rowClicked(row))
                        cell.switchToggled.connect(on => section.switchToggled(row, on))
                    }
                }
            }
        }
    }

    component RowCell: ListCell {
        id: rowCell
        required property var modelData
        width: parent ? parent.width : 0
        text: rowCell.modelData.l
        secondaryText: rowCell.modelData.v
        symbol: rowCell.modelData.i
        tint: SystemColors.named(rowCell.modelData.tint)
        cellStyle: rowCell.modelData.style
        accessory: rowCell.modelData.accessory
        switchOn: rowCell.modelData.switchOn
        switchEnabled: rowCell.modelData.switchEnabled
        selectable: rowCell.modelData.selectable
    }

    Column {
        id: content
        width: list.width

        Repeater {
            model: list.sections
            delegate: SectionView {}
            onItemAdded: (index, item) => {
                const section = item
                section.cardMargin = Qt.binding(() => list.cardMargin)
                section.rowClicked.connect(row => list.rowClicked(index, row))
                section.switchToggled.connect((row, on) => list.switchToggled(index, row, on))
            }
        }

        Item {
            id: footerSlot
            width: content.width
            height: childrenRect.height
        }
    }
}
