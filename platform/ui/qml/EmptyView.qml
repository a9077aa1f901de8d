import QtQuick
import Brisko.UI

Rectangle {
    required property ViewController controller
    color: "#FFFFFF"
}
