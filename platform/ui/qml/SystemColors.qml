pragma Singleton
import QtQuick

// The platform's light-mode system colours, by the names the screen models use.
QtObject {
    readonly property color systemBlue: "#007AFF"
    readonly property color systemGreen: "#34C759"
    readonly property color systemRed: "#FF3B30"
    readonly property color systemOrange: "#FF9500"
    readonly property color systemPurple: "#AF52DE"
    readonly property color systemTeal: "#30B0C7"
    readonly property color systemIndigo: "#5856D6"
    readonly property color systemGray: "#8E8E93"
    readonly property color systemCyan: "#32ADE6"
    readonly property color systemYellow: "#FFCC00"
    readonly property color label: "#000000"
    readonly property color secondaryLabel: Qt.rgba(0x3C / 255, 0x3C / 255, 0x43 / 255, 0.6)
    readonly property color tertiaryLabel: Qt.rgba(0x3C / 255, 0x3C / 255, 0x43 / 255, 0.3)
    readonly property color separator: Qt.rgba(0x3C / 255, 0x3C / 255, 0x43 / 255, 0.29)
    readonly property color systemGroupedBackground: "#F2F2F7"
    readonly property color secondarySystemGroupedBackground: "#FFFFFF"
    readonly property color systemBackground: "#FFFFFF"
    readonly property color barBackground: Qt.rgba(0.976, 0.976, 0.976, 0.94)

    function named(name) {
        const value = this[name]
        return value !== undefined ? value : label
    }
}
