import QtQuick
import QtQuick.Controls.Basic
import Brisko.TextEditor

// Dark, monospaced, plain text. The area draws only the lines in view; the flickable around it
// gives the scrolling (wheel, touch, scroll bars) over the whole document's size.
Rectangle {
    id: root
    required property FBTextEditorViewController controller
    color: Qt.rgba(0.118, 0.118, 0.149, 1)

    function ensureVisible(r) {
        if (flick.width <= 0 || flick.height <= 0)
            return
        if (flick.contentX >= r.x)
            flick.contentX = r.x
        else if (flick.contentX + flick.width <= r.x + r.width)
            flick.contentX = r.x + r.width - flick.width
        if (flick.contentY >= r.y)
            flick.contentY = r.y
        else if (flick.contentY + flick.height <= r.y + r.height)
            flick.contentY = r.y + r.height - flick.height
    }

    Component.onCompleted: root.controller.loaded.connect(() => {
        area.moveCursorToStart()
        flick.contentX = 0
        flick.contentY = 0
    })

    Shortcut {
        sequence: "Ctrl+S"
        onActivated: root.controller.doSave()
    }

    Flickable {
        id: flick
        objectName: "editorFlickable"
        anchors.fill: parent
        anchors.bottomMargin: root.controller.keyboardInset
        contentWidth: Math.max(width, area.contentWidth)
        contentHeight: Math.max(height, area.contentHeight)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        ScrollBar.horizontal: ScrollBar {}

        PlainTextArea {
            id: area
            objectName: "editorText"
            // Stays over the viewport; what it draws follows the scroll position.
            x: flick.contentX
            y: flick.contentY
            width: flick.width
            height: flick.height
            viewportX: flick.contentX
            viewportY: flick.contentY
            horizontalPadding: 14
            verticalPadding: 16
            focus: true
            document: root.controller.document
            readOnly: root.controller.readOnly
            color: Qt.rgba(0.82, 0.84, 0.88, 1)
            selectionColor: Qt.rgba(0.25, 0.45, 0.85, 0.6)
            onCursorRectangleChanged: root.ensureVisible(cursorRectangle)
        }
    }

    Text {
        objectName: "editorNotice"
        visible: root.controller.notice !== ""
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        anchors.margins: 32
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.Wrap
        text: root.controller.notice
        color: Qt.rgba(0.82, 0.84, 0.88, 1)
        font.pixelSize: 15
    }
}
