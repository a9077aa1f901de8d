import QtQuick
import QtQuick.Controls.Basic
import Brisko.UI

// One presented alert or action sheet over a dimmed window.
Rectangle {
    id: root
    required property AlertController alert
    anchors.fill: parent
    color: Qt.rgba(0, 0, 0, 0.2)

    MouseArea { anchors.fill: parent } // nothing below an alert takes input

    Rectangle {
        id: card
        readonly property bool sheet: root.alert.actionSheet
        width: sheet ? parent.width - 16 : 270
        height: content.implicitHeight
        radius: 14
        color: Qt.rgba(0.95, 0.95, 0.95, 0.98)
        anchors.horizontalCenter: parent.horizontalCenter
        y: sheet ? parent.height - height - 24 : (parent.height - height) / 2

        Column {
            id: content
            width: parent.width

            Item { width: 1; height: 19 }
            Text {
                width: parent.width - 32
                x: 16
                visible: text.length > 0
                text: root.alert.title
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                font.pixelSize: card.sheet ? 13 : 17
                font.weight: Font.DemiBold
                color: card.sheet ? SystemColors.secondaryLabel : SystemColors.label
            }
            Text {
                width: parent.width - 32
                x: 16
                visible: text.length > 0
                text: root.alert.message
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.Wrap
                font.pixelSize: 13
                color: SystemColors.label
            }
            Repeater {
                model: root.alert.textFields
                delegate: TextField {
                    required property var modelData
                    required property int index
                    x: 16
                    width: content.width - 32
                    text: modelData.text
                    placeholderText: modelData.placeholder
                    font.pixelSize: 13
                    onTextChanged: root.alert.setTextFieldText(index, text)
                }
            }
            Item { width: 1; height: 19 }
            Repeater {
                model: root.alert.actions
                delegate: Rectangle {
                    required property var modelData
                    required property int index
                    width: content.width
                    height: 44
                    color: area.pressed ? Qt.rgba(0, 0, 0, 0.08) : "transparent"
                    Rectangle { width: parent.width; height: 0.5; color: SystemColors.separator }
                    Text {
                        anchors.centerIn: parent
                        text: modelData.title
                        font.pixelSize: 17
                        font.weight: modelData.style === "cancel" ? Font.DemiBold : Font.Normal
                        color: modelData.style === "destructive" ? SystemColors.systemRed : SystemColors.systemBlue
                    }
                    MouseArea {
                        id: area
                        anchors.fill: parent
                        onClicked: root.alert.tapActionAt(index)
                    }
                }
            }
        }
    }
}
