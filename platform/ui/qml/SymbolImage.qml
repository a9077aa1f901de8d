import QtQuick
import Brisko.UI
import "symbols.js" as Symbols

// A system symbol drawn from the icon font, tinted. pointSize is the symbol's point size.
Text {
    property string name
    property real pointSize: 17
    property color tint: SystemColors.systemBlue
    property bool medium: true

    text: Symbols.glyph(name)
    color: tint
    font.family: Symbols.fontFamily
    // The font's glyphs fill less of the em than the platform's symbols do.
    font.pixelSize: Math.round(pointSize * 1.25)
    font.weight: medium ? Font.Medium : Font.Normal
    horizontalAlignment: Text.AlignHCenter
    verticalAlignment: Text.AlignVCenter
}
