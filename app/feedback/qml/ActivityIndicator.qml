import QtQuick

// The large spinner: eight spokes fading behind the leading one, stepping an eighth of a turn.
Item {
    id: indicator

    property color color: "white"

    width: 37
    height: 37

    Repeater {
        model: 8

        Rectangle {
            required property int index

            x: (indicator.width - width) / 2
            y: 2
            width: 4
            height: 10
            radius: 2
            color: indicator.color
            opacity: 1 - index * 0.1
            transform: Rotation {
                origin.x: 2
                origin.y: indicator.height / 2 - 2
                angle: -index * 45
            }
        }
    }

    Timer {
        interval: 125
        repeat: true
        running: indicator.visible
        onTriggered: indicator.rotation = (indicator.rotation + 45) % 360
    }
}
