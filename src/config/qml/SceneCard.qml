import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts

// One scene in the browser grid: its picture, name, kind and tags.
Item {
    id: card
    property var scene
    // While the filter changes, a card may briefly have no scene.
    readonly property var shown: scene ? scene : ({ name: "", type: "", tags: [], broken: false, loadError: "",
                                                     selected: false, official: true, filepath: "" })
    property bool current: false
    property bool canSelect: false
    signal clicked()
    signal doubleClicked()

    Rectangle {
        id: frame
        anchors.fill: parent
        anchors.margins: 6
        radius: Theme.radius
        color: mouse.containsMouse ? Theme.cardHover : Theme.card
        border.width: card.current ? 2 : 0
        border.color: Theme.accent
        clip: true

        ColumnLayout {
            anchors.fill: parent
            anchors.margins: 0
            spacing: 4
            Item {
                Layout.fillWidth: true
                Layout.preferredHeight: width * 9 / 16
                Rectangle {
                    anchors.fill: parent
                    radius: Theme.radius
                    color: "#0d0e12"
                }
                Image {
                    id: picture
                    anchors.fill: parent
                    anchors.margins: 1
                    source: "image://lmscene/" + card.shown.filepath + "#scene.jpg"
                    sourceSize.width: 320
                    sourceSize.height: 180
                    fillMode: Image.PreserveAspectCrop
                    asynchronous: true
                }
                Label {
                    anchors.centerIn: parent
                    visible: card.shown.broken
                    text: qsTr("\u26a0 Can't be read")
                    color: Theme.broken
                    font.weight: Font.DemiBold
                }
                CheckBox {
                    objectName: "selectBox"
                    visible: card.canSelect
                    anchors.top: parent.top
                    anchors.right: parent.right
                    checked: card.shown.selected
                    focusPolicy: Qt.NoFocus
                    onToggled: if (card.scene) card.scene.selected = checked
                    ToolTip.visible: hovered
                    ToolTip.text: qsTr("In the active playlist")
                }
            }
            Label {
                Layout.fillWidth: true
                Layout.leftMargin: 10
                Layout.rightMargin: 10
                text: card.shown.name
                font.pixelSize: 15
                font.weight: Font.DemiBold
                color: card.shown.broken ? Theme.broken : Theme.text
                elide: Text.ElideRight
            }
            Label {
                Layout.fillWidth: true
                Layout.leftMargin: 10
                Layout.rightMargin: 10
                Layout.bottomMargin: 8
                text: card.shown.type + (card.shown.official ? "" : " · " + qsTr("User"))
                      + (card.shown.tags.length ? " · " + card.shown.tags.join(", ") : "")
                font.pixelSize: 12
                color: Theme.dimText
                elide: Text.ElideRight
            }
        }
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton
        onClicked: card.clicked()
        onDoubleClicked: card.doubleClicked()
    }
    ToolTip {
        objectName: "brokenTip"
        visible: mouse.containsMouse && card.shown.broken
        text: card.shown.loadError
        delay: 300
    }
}
