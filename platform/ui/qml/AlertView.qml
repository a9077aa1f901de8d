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

    component FieldRow: TextField {
        required property var modelData
        x: 16
        width: parent ? parent.width - 32 : 0
        text: modelData.text
        placeholderText: modelData.placeholder
        font.pixelSize: 13
    }

    component ActionRow: Rectangle {
        id: action
        required property var modelData
        signal tapped()
        width: parent ? parent.width : 0
        height: 44
        color: area.pressed ? Qt.rgba(0, 0, 0, 0.08) : "transparent"
        Rectangle { width: parent.width; height: 0.5; color: SystemColors.separator }
        Text {
            anchors.centerIn: parent
            text: action.modelData.title
            font.pixelSize: 17
            font.weight: action.modelData.style === "cancel" ? Font.DemiBold : Font.Normal
            color: action.modelData.style === "destructive" ? SystemColors.systemRed : SystemColors.systemBlue
        }
        MouseArea {
            id: area
            anchors.fill: parent
            onClicked: action.tapped()
        }
    }

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
            Item { width: 1; height: 12; visible: qrImage.visible }
            Image {
                id: qrImage
                // One source pixel per device pixel: scaled modules would blur or come out uneven.
                x: (parent.width - width) / 2
                visible: root.alert.imageSide > 0
                width: implicitWidth / Screen.devicePixelRatio
                height: implicitHeight / Screen.devicePixelRatio
                source: root.alert.imageSource
                sourceSize.width: root.alert.imageSide * Screen.devicePixelRatio
                sourceSize.height: root.alert.imageSide * Screen.devicePixelRatio
                smooth: false
            }
            Repeater {
                model: root.alert.textFields
                delegate: FieldRow {}
                onItemAdded: (index, item) => {
                    const field = item
                    field.textChanged.connect(() => root.alert.setTextFieldText(index, field.text))
                }
            }
            Item { width: 1; height: 19 }
            Repeater {
                model: root.alert.actions
                delegate: ActionRow {}
                onItemAdded: (index, item) => item.tapped.connect(() => root.alert.tapActionAt(index))
            }
        }
    }
}
