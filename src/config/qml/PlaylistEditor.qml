import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts
import Lumora 1.0

// The playlists: which one is edited, which one runs, and the scenes of the
// edited one in its five lists.
Item {
    id: editor
    signal chooseScenes()
    readonly property var playlist: ConfigViewModel.activePlaylist
    readonly property var sections: [
        { index: 0, title: qsTr("Scenes") }, { index: 1, title: qsTr("Backgrounds") },
        { index: 2, title: qsTr("Foregrounds") }, { index: 3, title: qsTr("Postprocessing") },
        { index: 4, title: qsTr("Transitions") }]

    // Positions in the playlist's whole list of the scenes of one kind.
    function positionsOfKind(kind) {
        var positions = []
        if (!playlist)
            return positions
        for (var i = 0; i < playlist.scenes.length; ++i) {
            if (playlist.scenes[i].sceneTypeAsIndex === kind)
                positions.push(i)
        }
        return positions
    }
    function move(kind, at, step) {
        var positions = positionsOfKind(kind)
        var to = at + step
        if (to < 0 || to >= positions.length)
            return
        playlist.moveScene(positions[at], positions[to])
    }
    function setIncluded(scene, included) {
        scene.selected = included
        ConfigViewModel.save()
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: 300
            color: Theme.panel
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: Theme.gap
                spacing: 8
                Label { text: qsTr("Playlists"); font.pixelSize: 18; font.weight: Font.DemiBold }
                ListView {
                    id: list
                    objectName: "playlistList"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true
                    focus: true
                    keyNavigationEnabled: true
                    model: ConfigViewModel.playlists
                    delegate: ItemDelegate {
                        required property var modelData
                        required property int index
                        width: ListView.view.width
                        highlighted: modelData === ConfigViewModel.activePlaylist
                        // An unreadable file isn't edited: a commit would write over it.
                        onClicked: if (!modelData.broken) ConfigViewModel.activePlaylist = modelData
                        contentItem: ColumnLayout {
                            spacing: 2
                            Label {
                                Layout.fillWidth: true
                                text: modelData.name
                                      + (modelData.filepath === ConfigViewModel.playlistToRun ? "  \u25b6" : "")
                                color: modelData.broken ? Theme.broken : Theme.text
                                elide: Text.ElideRight
                            }
                            Label {
                                Layout.fillWidth: true
                                text: modelData.broken ? qsTr("Can't be read") : qsTr("%1 scenes").arg(modelData.scenesSelected)
                                color: Theme.dimText
                                font.pixelSize: 12
                            }
                        }
                        ToolTip.visible: hovered && modelData.broken
                        ToolTip.text: modelData.loadError
                    }
                    Keys.onReturnPressed: if (currentItem) ConfigViewModel.activePlaylist = currentItem.modelData
                    Label {
                        anchors.centerIn: parent
                        width: parent.width
                        visible: list.count === 0
                        wrapMode: Text.WordWrap
                        horizontalAlignment: Text.AlignHCenter
                        text: qsTr("No playlist of yours yet: make one below.")
                        color: Theme.dimText
                    }
                }
                RowLayout {
                    Layout.fillWidth: true
                    TextField {
                        id: newName
                        objectName: "newPlaylistField"
                        Layout.fillWidth: true
                        placeholderText: qsTr("New playlist name")
                        onAccepted: createButton.clicked()
                    }
                    Button {
                        id: createButton
                        objectName: "createPlaylistButton"
                        text: qsTr("Create")
                        enabled: newName.text.trim() !== ""
                        onClicked: {
                            ConfigViewModel.addPlaylist(newName.text.trim())
                            newName.text = ""
                        }
                    }
                }
            }
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.margins: Theme.gap * 2
            spacing: 12
            visible: editor.playlist !== null

            RowLayout {
                Layout.fillWidth: true
                spacing: 8
                TextField {
                    id: nameField
                    objectName: "playlistNameField"
                    Layout.preferredWidth: 280
                    font.pixelSize: 20
                    text: editor.playlist ? editor.playlist.name : ""
                    onAccepted: if (text.trim() !== "") editor.playlist.name = text.trim()
                    ToolTip.visible: activeFocus
                    ToolTip.text: qsTr("Enter renames the playlist")
                }
                Button {
                    text: qsTr("Run this one")
                    enabled: editor.playlist && editor.playlist.filepath !== ConfigViewModel.playlistToRun
                    onClicked: ConfigViewModel.playlistToRun = editor.playlist.filepath
                }
                Button {
                    text: qsTr("Add scenes…")
                    onClicked: editor.chooseScenes()
                }
                Item { Layout.fillWidth: true }
                Button {
                    text: qsTr("Delete")
                    flat: true
                    onClicked: confirm.open()
                }
            }

            ScrollView {
                Layout.fillWidth: true
                Layout.fillHeight: true
                contentWidth: availableWidth
                ColumnLayout {
                    width: parent.width
                    spacing: 16
                    Repeater {
                        model: editor.sections
                        ColumnLayout {
                            id: section
                            required property var modelData
                            readonly property var positions: editor.playlist ? editor.positionsOfKind(modelData.index) : []
                            Layout.fillWidth: true
                            spacing: 4
                            RowLayout {
                                Layout.fillWidth: true
                                Label {
                                    text: section.modelData.title + "  (" + section.positions.length + ")"
                                    font.pixelSize: 16
                                    font.weight: Font.DemiBold
                                    Layout.fillWidth: true
                                }
                                ComboBox {
                                    id: addBox
                                    objectName: "addBox" + section.modelData.index
                                    Layout.preferredWidth: 240
                                    displayText: qsTr("Add a scene")
                                    textRole: "name"
                                    model: {
                                        var free = []
                                        var all = ConfigViewModel.allScenes
                                        // Read so that the list follows every commit.
                                        var committed = editor.playlist ? editor.playlist.scenes.length : 0
                                        for (var i = 0; i < all.count; ++i) {
                                            var s = all.get(i)
                                            if (s.sceneTypeAsIndex === section.modelData.index && !s.selected && !s.broken)
                                                free.push(s)
                                        }
                                        return free
                                    }
                                    enabled: count > 0
                                    onActivated: (i) => editor.setIncluded(model[i], true)
                                }
                            }
                            Repeater {
                                model: section.positions
                                Rectangle {
                                    id: entry
                                    required property int modelData
                                    required property int index
                                    readonly property var scene: editor.playlist.scenes[modelData]
                                    Layout.fillWidth: true
                                    implicitHeight: 44
                                    radius: Theme.radius
                                    color: Theme.card
                                    RowLayout {
                                        anchors.fill: parent
                                        anchors.leftMargin: 8
                                        anchors.rightMargin: 4
                                        spacing: 10
                                        Image {
                                            Layout.preferredWidth: 56
                                            Layout.preferredHeight: 32
                                            source: entry.scene ? "image://lmscene/" + entry.scene.filepath + "#preview.jpg" : ""
                                            fillMode: Image.PreserveAspectCrop
                                        }
                                        Label {
                                            Layout.fillWidth: true
                                            text: entry.scene ? entry.scene.name : ""
                                            elide: Text.ElideRight
                                        }
                                        ToolButton {
                                            text: "\u2191"
                                            enabled: index > 0
                                            onClicked: editor.move(section.modelData.index, index, -1)
                                            ToolTip.visible: hovered
                                            ToolTip.text: qsTr("Earlier")
                                        }
                                        ToolButton {
                                            text: "\u2193"
                                            enabled: index < section.positions.length - 1
                                            onClicked: editor.move(section.modelData.index, index, 1)
                                            ToolTip.visible: hovered
                                            ToolTip.text: qsTr("Later")
                                        }
                                        ToolButton {
                                            text: "\u00d7"
                                            onClicked: editor.setIncluded(entry.scene, false)
                                            ToolTip.visible: hovered
                                            ToolTip.text: qsTr("Remove from the playlist")
                                        }
                                    }
                                }
                            }
                            Label {
                                visible: section.positions.length === 0
                                text: qsTr("None")
                                color: Theme.dimText
                            }
                        }
                    }
                }
            }
        }

        Label {
            Layout.fillWidth: true
            Layout.fillHeight: true
            visible: editor.playlist === null
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            text: qsTr("Choose a playlist on the left, or make a new one")
            color: Theme.dimText
            font.pixelSize: 18
        }
    }

    Dialog {
        id: confirm
        anchors.centerIn: parent
        modal: true
        title: qsTr("Delete \u201c%1\u201d?").arg(editor.playlist ? editor.playlist.name : "")
        standardButtons: Dialog.Ok | Dialog.Cancel
        onAccepted: ConfigViewModel.deletePlaylist(editor.playlist.name)
    }
}
