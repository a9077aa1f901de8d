import QtQuick

// The large spinner: eight spokes fading behind the leading one, stepping an eighth of a turn.
Item {
    id: indicator

    property color color: "white"

    width: 37
    height: 37

    component Spoke: Rectangle {
        id: spoke
        required property int step
        x: parent ? (parent.width - width) / 2 : 0
        y: 2
        width: 4
        height: 10
        radius: 2
        opacity: 1 - step * 0.1
        transform: Rotation {
            origin.x: 2
            origin.y: spoke.parent ? spoke.parent.height / 2 - 2 : 0
            angle: -spoke.step * 45
        }
    }

    Spoke { step: 0; color: indicator.color }
    Spoke { step: 1; color: indicator.color }
    Spoke { step: 2; color: indicator.color }
    Spoke { step: 3; color: indicator.color }
    Spoke { step: 4; color: indicator.color }
    Spoke { step: 5; color: indicator.color }
    Spoke { step: 6; color: indicator.color }
    Spoke { step: 7; color: indicator.color }

    Timer {
        interval: 125
        repeat: true
        running: indicator.visible
        onTriggered: indicator.rotation = (indicator.rotation + 45) % 360
    }
}
