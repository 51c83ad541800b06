import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts
import Lumora 1.0

// The scene the browser has chosen: pictures, words about it, its tags and
// the preview.
Rectangle {
    id: detail
    property var scene: null
    color: Theme.panel

    Label {
        anchors.centerIn: parent
        visible: !detail.scene
        width: parent.width - 40
        wrapMode: Text.WordWrap
        horizontalAlignment: Text.AlignHCenter
        text: qsTr("Choose a scene to see it here")
        color: Theme.dimText
    }

    ScrollView {
        anchors.fill: parent
        visible: detail.scene !== null
        contentWidth: availableWidth
        ColumnLayout {
            width: parent.width
            spacing: 10
            Item {
                Layout.fillWidth: true
                Layout.preferredHeight: width * 9 / 16
                Rectangle { anchors.fill: parent; color: "#0d0e12" }
                Image {
                    anchors.fill: parent
                    source: detail.scene ? "image://lmscene/" + detail.scene.filepath + "#scene.jpg" : ""
                    fillMode: Image.PreserveAspectCrop
                    asynchronous: true
                }
            }
            ColumnLayout {
                Layout.fillWidth: true
                // Long words must wrap, not widen the pane.
                Layout.maximumWidth: detail.width - 2 * Theme.gap
                Layout.margins: Theme.gap
                spacing: 8
                Label {
                    Layout.fillWidth: true
                    text: detail.scene ? detail.scene.name : ""
                    font.pixelSize: 22
                    font.weight: Font.DemiBold
                    elide: Text.ElideRight
                }
                Label {
                    Layout.fillWidth: true
                    text: detail.scene ? detail.scene.type + " · " + (detail.scene.official ? qsTr("Installed")
                                                                                           : qsTr("Your scene"))
                                         + (detail.scene.author ? " · " + qsTr("by %1").arg(detail.scene.author) : "")
                                       : ""
                    color: Theme.dimText
                    wrapMode: Text.WordWrap
                }
                Label {
                    Layout.fillWidth: true
                    visible: text !== ""
                    text: detail.scene ? (detail.scene.broken ? detail.scene.loadError : detail.scene.description) : ""
                    color: detail.scene && detail.scene.broken ? Theme.broken : Theme.text
                    wrapMode: Text.WordWrap
                }
                RowLayout {
                    spacing: 8
                    Button {
                        objectName: "previewButton"
                        text: qsTr("Preview")
                        highlighted: true
                        enabled: detail.scene !== null && !detail.scene.broken
                        onClicked: ConfigViewModel.previewSelectedScene()
                        ToolTip.visible: hovered
                        ToolTip.text: qsTr("Plays this scene in the visualizer (Enter)")
                    }
                    CheckBox {
                        objectName: "inPlaylistBox"
                        visible: ConfigViewModel.activePlaylist !== null
                        text: qsTr("In playlist")
                        checked: detail.scene ? detail.scene.selected : false
                        onToggled: detail.scene.selected = checked
                    }
                }
                Label { text: qsTr("Licence"); color: Theme.dimText; font.pixelSize: 12 }
                RowLayout {
                    spacing: 8
                    LicenceBadge {
                        licence: detail.scene ? detail.scene.license : ""
                    }
                    Switch {
                        text: qsTr("Relicensable")
                        checked: detail.scene ? detail.scene.relicensingPossible : false
                        enabled: detail.scene !== null && !detail.scene.broken
                        onToggled: detail.scene.setRelicensingPossible(checked)
                    }
                }
                Label { text: qsTr("Tags"); color: Theme.dimText; font.pixelSize: 12 }
                Flow {
                    objectName: "sceneTags"
                    Layout.fillWidth: true
                    spacing: 6
                    Repeater {
                        model: detail.scene ? detail.scene.tags : []
                        TagChip {
                            required property string modelData
                            text: modelData
                            removable: true
                            onRemoveClicked: detail.scene.removeTag(modelData)
                        }
                    }
                }
                RowLayout {
                    Layout.fillWidth: true
                    TextField {
                        id: newTag
                        objectName: "newTagField"
                        Layout.fillWidth: true
                        placeholderText: qsTr("Add a tag")
                        enabled: detail.scene !== null && !detail.scene.broken
                        onAccepted: addButton.clicked()
                    }
                    Button {
                        id: addButton
                        objectName: "addTagButton"
                        text: qsTr("Add")
                        enabled: newTag.text.trim() !== "" && newTag.enabled
                        onClicked: {
                            detail.scene.addTag(newTag.text.trim())
                            newTag.text = ""
                        }
                    }
                }
            }
        }
    }
}
