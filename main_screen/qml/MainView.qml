import QtQuick
import "qrc:/brisko/ui/"

// The main screen: one inset-grouped table over the grouped background.
Rectangle {
    id: root
    property QtObject controller
    color: SystemColors.systemGroupedBackground

    InsetGroupedList {
        objectName: "mainTable"
        anchors.fill: parent
        sections: root.controller ? root.controller.tableSections : []
        onRowClicked: (section, row) => root.controller.didSelectRow(section, row)
        onSwitchToggled: (section, row, sender) => root.controller.switchToggled(section, row, sender)
    }
}
