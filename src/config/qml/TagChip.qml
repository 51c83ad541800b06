import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts

// A word in a rounded box; checkable chips filter, removable ones edit.
AbstractButton {
    id: chip
    property bool removable: false
    property string count: ""
    signal removeClicked()

    implicitHeight: 28
    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    leftPadding: 12
    rightPadding: 12
    focusPolicy: Qt.StrongFocus
    Accessible.name: text

    background: Rectangle {
        radius: height / 2
        color: chip.checked ? Theme.accent : (chip.hovered ? Theme.cardHover : Theme.chip)
        border.color: chip.activeFocus ? Theme.accent : "transparent"
        border.width: 2
    }
    contentItem: RowLayout {
        id: row
        spacing: 6
        Label {
            text: chip.text
            color: chip.checked ? "#15161b" : Theme.text
            font.pixelSize: 13
        }
        Label {
            visible: chip.count !== ""
            text: chip.count
            color: chip.checked ? "#15161b" : Theme.dimText
            font.pixelSize: 11
        }
        Label {
            visible: chip.removable
            text: "\u00d7"
            color: removeArea.containsMouse ? Theme.broken : Theme.dimText
            font.pixelSize: 16
            MouseArea {
                id: removeArea
                anchors.fill: parent
                anchors.margins: -4
                hoverEnabled: true
                onClicked: chip.removeClicked()
            }
        }
    }
    Keys.onDeletePressed: if (removable) removeClicked()
}
