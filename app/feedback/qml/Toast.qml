import QtQuick

// A short message near the bottom of its host; the fading and removal are driven from C++.
Rectangle {
    id: toast

    property alias text: label.text
    property real bottomInset: 0

    objectName: "BKToast"
    z: 10000
    width: label.implicitWidth
    height: 40
    radius: 20
    clip: true
    color: Qt.rgba(0.18, 0.18, 0.22, 0.92)
    opacity: 0
    anchors.horizontalCenter: parent ? parent.horizontalCenter : undefined
    anchors.bottom: parent ? parent.bottom : undefined
    anchors.bottomMargin: bottomInset + 30

    Text {
        id: label
        anchors.centerIn: parent
        horizontalAlignment: Text.AlignHCenter
        color: "white"
        font.pixelSize: 14
        font.weight: Font.Medium
    }
}
