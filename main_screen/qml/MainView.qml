import QtQuick
import Brisko.UI
import Brisko.MainScreen

// The main screen: one inset-grouped table over the grouped background, the start/stop bar
// below its last section when the controller shows it.
Rectangle {
    id: root
    required property BKMainViewController controller
    color: SystemColors.systemGroupedBackground

    component BarButton: Rectangle {
        id: button
        property string title
        signal clicked()
        radius: 14
        clip: true
        Text {
            anchors.fill: parent
            anchors.margins: 8
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            text: button.title
            color: "#FFFFFF"
            font.pixelSize: 16
            font.weight: Font.DemiBold
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: 16 * 0.85
        }
        Rectangle {
            anchors.fill: parent
            color: Qt.rgba(1, 1, 1, 0.25)
            visible: area.pressed
        }
        MouseArea {
            id: area
            anchors.fill: parent
            onClicked: button.clicked()
        }
    }

    InsetGroupedList {
        id: table
        objectName: "mainTable"
        anchors.fill: parent
        sections: root.controller.tableSections
        onRowClicked: (section, row) => root.controller.didSelectRow(section, row)
        onSwitchToggled: (section, row, on) => root.controller.switchToggled(section, row, on)
        onWidthChanged: root.controller.setTableWidth(width)
        Component.onCompleted: root.controller.setTableWidth(width)

        footer: Item {
            id: bar
            readonly property var frame: root.controller.scriptControlLayout
            objectName: "scriptControlBar"
            visible: root.controller.scriptControlsShown && frame.barHeight !== undefined
            height: visible ? frame.barHeight : 0

            BarButton {
                objectName: "startScriptButton"
                x: bar.frame.startX || 0
                y: bar.frame.buttonY || 0
                width: bar.frame.buttonWidth || 0
                height: bar.frame.buttonHeight || 0
                title: bar.frame.startTitle || ""
                color: SystemColors.named(bar.frame.startColor || "systemGreen")
                onClicked: root.controller.startScriptButtonTapped()
            }
            BarButton {
                objectName: "stopScriptButton"
                x: bar.frame.stopX || 0
                y: bar.frame.buttonY || 0
                width: bar.frame.buttonWidth || 0
                height: bar.frame.buttonHeight || 0
                title: bar.frame.stopTitle || ""
                color: SystemColors.named(bar.frame.stopColor || "systemRed")
                onClicked: root.controller.stopScriptButtonTapped()
            }
        }
    }
}
