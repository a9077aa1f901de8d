import QtQuick
import QtQuick.Controls.Basic
import Brisko.UI
import "symbols.js" as Symbols

// Navigation bar over a stack of screens; the controller drives push and pop.
Item {
    id: root
    required property NavigationController controller
    readonly property real barHeight: 44
    readonly property ViewController topController: controller.topController

    // A text or symbol button of the bar: maps with "text" or "symbol", "tint" and "id".
    component BarItem: Text {
        id: barItem
        required property var modelData
        signal tapped()
        text: modelData.symbol ? Symbols.glyph(modelData.symbol) : (modelData.text || modelData.glyph || "")
        color: modelData.tint ? SystemColors.named(modelData.tint) : SystemColors.systemBlue
        font.family: modelData.symbol ? Symbols.fontFamily : Qt.application.font.family
        font.pixelSize: modelData.symbol ? 22 : 17
        MouseArea {
            anchors.fill: parent
            anchors.margins: -8
            onClicked: barItem.tapped()
        }
    }

    StackView {
        id: stack
        anchors.fill: parent
        anchors.topMargin: root.barHeight
        clip: true
    }

    Component.onCompleted: {
        root.controller.pushed.connect((item, animated) => {
            stack.push(item, {}, animated ? StackView.PushTransition : StackView.Immediate)
        })
        root.controller.popped.connect(animated => {
            stack.pop(animated ? StackView.PopTransition : StackView.Immediate)
        })
    }

    Rectangle {
        id: bar
        width: parent.width
        height: root.barHeight
        color: SystemColors.barBackground

        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 0.5
            color: SystemColors.separator
        }

        Text {
            id: backButton
            objectName: "navBackButton"
            visible: root.controller.depth > 1
            anchors.left: parent.left
            anchors.leftMargin: 8
            anchors.verticalCenter: parent.verticalCenter
            text: "‹ " + root.controller.backTitle
            color: SystemColors.systemBlue
            font.pixelSize: 17
            MouseArea {
                anchors.fill: parent
                anchors.margins: -8
                onClicked: root.controller.backButtonTapped()
            }
        }

        Text {
            objectName: "navTitle"
            anchors.centerIn: parent
            width: Math.min(implicitWidth, parent.width - 180)
            elide: Text.ElideRight
            readonly property bool monospaced: root.topController
                                                && root.topController.titleFont === ViewController.Monospaced
            text: root.topController ? root.topController.title : ""
            // A font without a family is the application's own.
            font: monospaced ? Qt.font({family: "monospace", pixelSize: 15, weight: Font.Medium})
                             : Qt.font({pixelSize: 17, weight: Font.DemiBold})
            color: SystemColors.label
        }

        Row {
            anchors.right: parent.right
            anchors.rightMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            spacing: 16
            Repeater {
                model: root.topController ? root.topController.rightBarItems : []
                delegate: BarItem {}
                onItemAdded: (index, item) => {
                    const barItem = item
                    barItem.tapped.connect(() => root.topController.barItemTapped(barItem.modelData.id))
                }
            }
        }
    }
}
