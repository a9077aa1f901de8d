import QtQuick

// Dims the whole host, swallows its input and shows a spinner with a text below it.
Rectangle {
    id: overlay

    property alias text: label.text
    readonly property int tag: 999901

    objectName: "BKLoadingOverlay"
    z: 10000
    anchors.fill: parent
    color: Qt.rgba(0, 0, 0, 0.4)

    // Touches reach it as synthesized mouse events, so this blocks both.
    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        preventStealing: true
        onWheel: (wheel) => { wheel.accepted = true }
    }

    ActivityIndicator {
        id: indicator
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: -20
    }

    Text {
        id: label
        anchors.top: indicator.bottom
        anchors.topMargin: 12
        anchors.horizontalCenter: parent.horizontalCenter
        color: "white"
        font.pixelSize: 16
        font.weight: Font.Medium
    }
}
