import QtQuick
import QtQuick.Controls.Basic
import Brisko.TextEditor

// Dark, monospaced, plain text. Plain-text format and no wrapping keep a large file quick to
// open: rich-text detection and wrapping each cost a full pass over the document.
Rectangle {
    id: root
    required property FBTextEditorViewController controller
    color: Qt.rgba(0.118, 0.118, 0.149, 1)

    property bool textLoaded: false

    function loadText() {
        textLoaded = false
        edit.text = controller.text
        textLoaded = true
    }

    function ensureVisible(cursor) {
        if (flick.width <= 0 || flick.height <= 0)
            return
        const r = Qt.rect(cursor.x + edit.x, cursor.y + edit.y, cursor.width, cursor.height)
        if (flick.contentX >= r.x)
            flick.contentX = r.x
        else if (flick.contentX + flick.width <= r.x + r.width)
            flick.contentX = r.x + r.width - flick.width
        if (flick.contentY >= r.y)
            flick.contentY = r.y
        else if (flick.contentY + flick.height <= r.y + r.height)
            flick.contentY = r.y + r.height - flick.height
    }

    Component.onCompleted: {
        loadText()
        controller.loaded.connect(loadText)
        controller.saveRequested.connect(() => controller.saveText(edit.text))
    }

    Shortcut {
        sequence: "Ctrl+S"
        onActivated: root.controller.doSave()
    }

    Flickable {
        id: flick
        objectName: "editorFlickable"
        anchors.fill: parent
        anchors.bottomMargin: root.controller.keyboardInset
        // Insets 16/14/16/14 around the text.
        contentWidth: Math.max(width, edit.contentWidth + 28)
        contentHeight: Math.max(height, edit.contentHeight + 32)
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}
        ScrollBar.horizontal: ScrollBar {}

        TextEdit {
            id: edit
            objectName: "editorText"
            x: 14
            y: 16
            width: flick.contentWidth - 28
            height: flick.contentHeight - 32
            focus: true
            readOnly: root.controller.readOnly
            selectByMouse: true
            persistentSelection: true
            textFormat: TextEdit.PlainText
            wrapMode: TextEdit.NoWrap
            inputMethodHints: Qt.ImhNoAutoUppercase | Qt.ImhNoPredictiveText
            color: Qt.rgba(0.82, 0.84, 0.88, 1)
            selectionColor: Qt.rgba(0.25, 0.45, 0.85, 0.6)
            selectedTextColor: color
            font.family: "monospace"
            // 13.5 device-independent pixels; pixel sizes are whole numbers, point sizes are not.
            font.pointSize: 13.5 * 72 / 96
            onCursorRectangleChanged: root.ensureVisible(cursorRectangle)
            onTextChanged: if (root.textLoaded) root.controller.textEdited()
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
