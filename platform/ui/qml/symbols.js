.pragma library

// System symbol names, as the screen models use them, to glyphs of the Material Design Icons
// font (Debian: fonts-materialdesignicons-webfont). Unknown names draw nothing.
const fontFamily = "Material Design Icons"

const glyphs = {
    "app.badge": "\uF614",
    "barcode": "\uF071",
    "chevron.left.forwardslash.chevron.right": "\uF174",
    "chevron.right": "\uF142",
    "curlybraces": "\uF169",
    "doc": "\uF214",
    "doc.text": "\uF219",
    "doc.text.magnifyingglass": "\uF21E",
    "doc.zipper": "\uF5C4",
    "folder.fill": "\uF24B",
    "gear": "\uF493",
    "gearshape": "\uF493",
    "internaldrive": "\uF2CA",
    "iphone": "\uF120",
    "ladybug.fill": "\uF0E4",
    "list.bullet.indent": "\uF276",
    "memorychip": "\uF35B",
    "network": "\uF59F",
    "note.text": "\uF39E",
    "photo": "\uF2E9",
    "plus": "\uF415",
    "power": "\uF425",
    "rectangle.dashed": "\uF489",
    "shippingbox": "\uF3D6"
}

function glyph(name) {
    return glyphs[name] || ""
}
