import QtQuick

Rectangle {
    property QtObject controller
    color: "#FFFFFF"
}
