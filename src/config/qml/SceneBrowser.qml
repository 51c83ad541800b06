import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts
import Lumora 1.0

// The library: filters on the left, the grid of scenes, the chosen scene on
// the right.
Item {
    id: browser
    property alias shownCount: grid.count
    property alias grid: grid
    property alias searchField: search
    property string chosenWord: ""
    readonly property var kindWords: ["Standalone", "Background", "Foreground", "Postprocessing", "Transition"]

    function chooseWord(word) {
        if (chosenWord === word || word === "") {
            if (chosenWord !== "")
                ConfigViewModel.selectTag(chosenWord, false)
            chosenWord = ""
        } else {
            ConfigViewModel.selectTag(word, true)
            chosenWord = word
        }
    }

    Shortcut { sequence: StandardKey.Find; onActivated: search.forceActiveFocus() }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        // ---- Filters ----
        Rectangle {
            Layout.fillHeight: true
            Layout.preferredWidth: browser.width < 1200 ? 200 : 230
            color: Theme.panel
            ScrollView {
                anchors.fill: parent
                anchors.margins: Theme.gap
                contentWidth: availableWidth
                ColumnLayout {
                    width: parent.width
                    spacing: 10
                    TextField {
                        id: search
                        objectName: "searchField"
                        Layout.fillWidth: true
                        placeholderText: qsTr("Search scenes")
                        selectByMouse: true
                        onTextChanged: ConfigViewModel.searchScenes(text)
                        Keys.onDownPressed: grid.forceActiveFocus()
                        Keys.onReturnPressed: grid.forceActiveFocus()
                    }
                    Label { text: qsTr("Origin"); color: Theme.dimText; font.pixelSize: 12 }
                    Flow {
                        Layout.fillWidth: true
                        spacing: 6
                        Repeater {
                            model: [{ label: qsTr("All"), word: "" }, { label: qsTr("Mine"), word: "User" },
                                    { label: qsTr("Installed"), word: "Official" }]
                            TagChip {
                                required property var modelData
                                text: modelData.label
                                checked: ConfigViewModel.filteredScenes.origin === modelData.word
                                onClicked: ConfigViewModel.filteredScenes.origin = modelData.word
                            }
                        }
                    }
                    Label { text: qsTr("Kind"); color: Theme.dimText; font.pixelSize: 12 }
                    Flow {
                        Layout.fillWidth: true
                        spacing: 6
                        TagChip {
                            text: qsTr("Any")
                            checked: browser.chosenWord === ""
                            onClicked: browser.chooseWord("")
                        }
                        Repeater {
                            model: browser.kindWords
                            TagChip {
                                required property string modelData
                                objectName: "kind" + modelData
                                text: modelData
                                checked: browser.chosenWord === modelData
                                onClicked: browser.chooseWord(modelData)
                            }
                        }
                    }
                    Label { text: qsTr("Tags"); color: Theme.dimText; font.pixelSize: 12 }
                    Flow {
                        Layout.fillWidth: true
                        spacing: 6
                        Repeater {
                            model: ConfigViewModel.tags
                            TagChip {
                                required property var modelData
                                visible: browser.kindWords.indexOf(modelData.name) < 0 && modelData.name !== "User"
                                text: modelData.name === "norelicensing" ? qsTr("fixed licence") : modelData.name
                                count: Math.round(modelData.score)
                                checked: modelData.selected
                                onClicked: browser.chooseWord(modelData.name)
                            }
                        }
                    }
                }
            }
        }

        // ---- Grid ----
        Item {
            Layout.fillWidth: true
            Layout.fillHeight: true
            ColumnLayout {
                anchors.fill: parent
                anchors.margins: Theme.gap
                spacing: 8
                RowLayout {
                    Layout.fillWidth: true
                    visible: ConfigViewModel.activePlaylist !== null
                    Label {
                        Layout.fillWidth: true
                        text: qsTr("Ticked scenes play in \u201c%1\u201d")
                              .arg(ConfigViewModel.activePlaylist ? ConfigViewModel.activePlaylist.name : "")
                        color: Theme.dimText
                        elide: Text.ElideRight
                    }
                    Button { text: qsTr("Select shown"); flat: true; onClicked: ConfigViewModel.selectAllScenes() }
                    Button { text: qsTr("Clear shown"); flat: true; onClicked: ConfigViewModel.deselectAllScenes() }
                    Button { text: qsTr("Invert"); flat: true; onClicked: ConfigViewModel.toggleAllScenes() }
                }
                GridView {
                    id: grid
                    objectName: "sceneGrid"
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    clip: true
                    focus: true
                    keyNavigationEnabled: true
                    currentIndex: -1
                    readonly property int columns: Math.max(2, Math.floor(width / 220))
                    cellWidth: Math.floor(width / columns)
                    cellHeight: Math.floor((cellWidth - 12) * 9 / 16) + 66
                    model: ConfigViewModel.filteredScenes
                    ScrollBar.vertical: ScrollBar {}
                    delegate: SceneCard {
                        width: grid.cellWidth
                        height: grid.cellHeight
                        required property int index
                        scene: ConfigViewModel.filteredScenes.sceneAt(index)
                        current: ConfigViewModel.activeScene === scene
                        canSelect: ConfigViewModel.activePlaylist !== null
                        onClicked: { grid.currentIndex = index; grid.forceActiveFocus() }
                        onDoubleClicked: ConfigViewModel.previewSelectedScene()
                    }
                    onCurrentIndexChanged: {
                        if (currentItem)
                            ConfigViewModel.activeScene = currentItem.scene
                    }
                    Keys.onReturnPressed: ConfigViewModel.previewSelectedScene()
                    Keys.onSpacePressed: {
                        if (currentItem && ConfigViewModel.activePlaylist)
                            currentItem.scene.selected = !currentItem.scene.selected
                    }
                    Label {
                        anchors.centerIn: parent
                        visible: grid.count === 0
                        text: qsTr("No scene matches")
                        color: Theme.dimText
                        font.pixelSize: 18
                    }
                }
            }
        }

        // ---- The chosen scene ----
        SceneDetail {
            objectName: "sceneDetail"
            Layout.fillHeight: true
            Layout.preferredWidth: Math.max(300, Math.min(400, browser.width * 0.27))
            scene: ConfigViewModel.activeScene
        }
    }
}
