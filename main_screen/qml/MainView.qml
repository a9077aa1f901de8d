import QtQuick
import "qrc:/brisko/ui/"

// The main screen: one inset-grouped table over the grouped background, the start/stop bar
// below its last section when the controller shows it.
Rectangle {
    id: root
    property QtObject controller
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
        sections: root.controller ? root.controller.tableSections : []
        onRowClicked: (section, row) => root.controller.didSelectRow(section, row)
        onSwitchToggled: (section, row, sender) => root.controller.switchToggled(section, row, sender)
        onWidthChanged: if (root.controller) root.controller.setTableWidth(width)
        Component.onCompleted: if (root.controller) root.controller.setTableWidth(width)

        footer: Item {
            readonly property var frame: root.controller ? root.controller.scriptControlLayout : ({})
            objectName: "scriptControlBar"
            visible: root.controller && root.controller.scriptControlsShown && frame.barHeight !== undefined
            height: visible ? frame.barHeight : 0

            BarButton {
                objectName: "startScriptButton"
                x: parent.frame.startX || 0
                y: parent.frame.buttonY || 0
                width: parent.frame.buttonWidth || 0
                height: parent.frame.buttonHeight || 0
                title: parent.frame.startTitle || ""
                color: SystemColors.named(parent.frame.startColor || "systemGreen")
                onClicked: root.controller.startScriptButtonTapped()
            }
            BarButton {
                objectName: "stopScriptButton"
                x: parent.frame.stopX || 0
                y: parent.frame.buttonY || 0
                width: parent.frame.buttonWidth || 0
                height: parent.frame.buttonHeight || 0
                title: parent.frame.stopTitle || ""
                color: SystemColors.named(parent.frame.stopColor || "systemRed")
                onClicked: root.controller.stopScriptButtonTapped()
            }
        }
    }
}
