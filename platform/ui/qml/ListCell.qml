import QtQuick
import Brisko.UI

// One row of a grouped list: symbol, label and secondary text, in the subtitle style (secondary
// text under the label) or the value style (secondary text at the right), with an accessory.
Item {
    id: cell
    property string text
    property string secondaryText
    property string symbol
    property color tint: SystemColors.systemBlue
    property string cellStyle: "value" // "subtitle" | "value"
    property string accessory: "none" // "switch" | "disclosure" | "none"
    property bool switchOn: false
    property bool switchEnabled: true
    property bool selectable: false
    property bool showsSeparator: true
    readonly property real textLeading: 60
    signal clicked()
    signal switchToggled(bool on)

    // A value that does not fit beside its label goes under it, as the platform's value cells do.
    readonly property bool stacked: cellStyle !== "subtitle"
                                    && valueLabel.implicitWidth + valueText.implicitWidth + 12 > textArea.width
    implicitHeight: cellStyle === "subtitle" ? Math.max(44, subtitleColumn.implicitHeight + 16)
                    : stacked ? valueLabel.implicitHeight + valueText.implicitHeight + 22 : 44

    Rectangle {
        anchors.fill: parent
        color: "#D1D1D6"
        visible: cell.selectable && area.pressed
    }

    MouseArea {
        id: area
        anchors.fill: parent
        onClicked: cell.clicked()
    }

    SymbolImage {
        x: 16
        width: 28
        anchors.verticalCenter: parent.verticalCenter
        name: cell.symbol
        pointSize: 16
        tint: cell.tint
    }

    Item {
        id: textArea
        x: cell.textLeading
        width: accessoryBox.x - x - 8
        height: parent.height

        Column {
            id: subtitleColumn
            visible: cell.cellStyle === "subtitle"
            width: parent.width
            anchors.verticalCenter: parent.verticalCenter
            spacing: 3
            Text {
                width: parent.width
                elide: Text.ElideRight
                text: cell.text
                font.pixelSize: 17
                color: SystemColors.label
            }
            Text {
                width: parent.width
                elide: Text.ElideRight
                text: cell.secondaryText
                font.pixelSize: 12
                color: SystemColors.secondaryLabel
            }
        }

        Text {
            id: valueLabel
            visible: cell.cellStyle !== "subtitle"
            y: cell.stacked ? 11 : (parent.height - height) / 2
            text: cell.text
            font.pixelSize: 17
            color: SystemColors.label
        }
        Text {
            id: valueText
            visible: cell.cellStyle !== "subtitle"
            x: cell.stacked ? 0 : parent.width - width
            y: cell.stacked ? valueLabel.y + valueLabel.height : (parent.height - height) / 2
            width: cell.stacked ? parent.width : implicitWidth
            wrapMode: cell.stacked ? Text.Wrap : Text.NoWrap
            text: cell.secondaryText
            font.pixelSize: 17
            color: SystemColors.secondaryLabel
        }
    }

    Item {
        id: accessoryBox
        width: cell.accessory === "switch" ? toggle.width : (cell.accessory === "disclosure" ? 12 : 0)
        height: parent.height
        anchors.right: parent.right
        anchors.rightMargin: 16

        Switch {
            id: toggle
            objectName: "switch"
            visible: cell.accessory === "switch"
            anchors.verticalCenter: parent.verticalCenter
            checked: cell.switchOn
            enabled: cell.switchEnabled
            onToggled: (wanted) => cell.switchToggled(wanted)
        }
        SymbolImage {
            visible: cell.accessory === "disclosure"
            anchors.centerIn: parent
            name: "chevron.right"
            pointSize: 15
            tint: "#C4C4C7"
        }
    }

    Rectangle {
        visible: cell.showsSeparator
        x: cell.textLeading
        width: parent.width - x
        height: 0.5
        anchors.bottom: parent.bottom
        color: SystemColors.separator
    }
}
