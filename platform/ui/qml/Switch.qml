import QtQuick
import Brisko.UI

// The platform's toggle switch: 51 × 31, green when on. A tap asks for the other state through
// toggled(wanted); `checked` stays bound to whatever the model then says.
Item {
    id: root
    property bool checked: false
    signal toggled(bool wanted)

    implicitWidth: 51
    implicitHeight: 31
    opacity: enabled ? 1.0 : 0.5

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: root.checked ? SystemColors.systemGreen : "#E9E9EB"
        Behavior on color { ColorAnimation { duration: 150 } }
    }

    Rectangle { // the knob's shadow
        x: knob.x
        y: knob.y + 2
        width: knob.width
        height: knob.height
        radius: knob.radius
        color: Qt.rgba(0, 0, 0, 0.12)
    }

    Rectangle {
        id: knob
        width: 27
        height: 27
        radius: 13.5
        y: 2
        x: root.checked ? root.width - width - 2 : 2
        color: "#FFFFFF"
        border.width: 0.5
        border.color: Qt.rgba(0, 0, 0, 0.04)
        Behavior on x { NumberAnimation { duration: 150; easing.type: Easing.OutCubic } }
    }

    MouseArea {
        anchors.fill: parent
        anchors.margins: -6
        onClicked: root.toggled(!root.checked)
    }
}
