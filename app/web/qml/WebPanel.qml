import QtQuick
import QtWebEngine
import Brisko.Web

// The page over the whole navigation view; its dialogs wait here until the controller answers.
WebEngineView {
    id: view
    required property BKWebPanelController controller
    property var pendingDialogs: ({})
    property int nextDialogId: 1

    anchors.fill: parent
    z: 10000

    onJavaScriptDialogRequested: (request) => {
        request.accepted = true
        const id = view.nextDialogId++
        view.pendingDialogs[id] = request
        view.controller.runJavaScriptDialog(id, request.type, request.message, request.defaultText)
    }

    Connections {
        target: view.controller
        function onLoadRequested(url) {
            // The same address again is a reload, which setting url would not do.
            if (String(view.url) === String(url))
                view.reload()
            else
                view.url = url
        }
        function onStopRequested() {
            view.stop()
        }
        function onDialogAnswered(id, accepted, text) {
            const request = view.pendingDialogs[id]
            delete view.pendingDialogs[id]
            if (!request)
                return
            if (accepted)
                request.dialogAccept(text)
            else
                request.dialogReject()
        }
    }
}
