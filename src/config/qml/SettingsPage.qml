import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts
import Lumora 1.0

// Every setting of the player, saved when the window loses focus, at the
// end and before a preview.
ScrollView {
    id: page
    contentWidth: availableWidth
    property var audioSources: []

    function refreshSources() {
        audioSources = ConfigViewModel.audioSources()
    }

    component SettingLabel: Label {
        Layout.preferredWidth: 260
        color: Theme.text
        wrapMode: Text.WordWrap
    }
    component Section: GroupBox {
        Layout.fillWidth: true
        Layout.maximumWidth: 900
        Layout.alignment: Qt.AlignHCenter
        label: Label {
            text: parent.title
            font.pixelSize: 17
            font.weight: Font.DemiBold
            color: Theme.accent
            bottomPadding: 6
        }
        background: Rectangle { color: Theme.panel; radius: Theme.radius; y: parent.topPadding - parent.bottomPadding }
    }
    component PercentSlider: RowLayout {
        property alias value: slider.value
        property alias from: slider.from
        property alias to: slider.to
        signal moved(real value)
        Layout.fillWidth: true
        Slider {
            id: slider
            Layout.fillWidth: true
            stepSize: 1
            onMoved: parent.moved(value)
        }
        Label { text: Math.round(slider.value) + " %"; Layout.preferredWidth: 56; color: Theme.dimText }
    }

    ColumnLayout {
        width: page.availableWidth
        spacing: 16
        Item { Layout.preferredHeight: 4 }

        Section {
            title: qsTr("Playing")
            GridLayout {
                anchors.fill: parent
                columns: 2
                columnSpacing: 16
                SettingLabel { text: qsTr("Play scenes in random order") }
                Switch {
                    objectName: "randomSwitch"
                    checked: ConfigViewModel.randNextScene
                    onToggled: ConfigViewModel.randNextScene = checked
                }
                SettingLabel { text: qsTr("Shortest time a scene plays (seconds)") }
                SpinBox {
                    objectName: "minTimeBox"
                    from: 0; to: 3600; editable: true
                    value: ConfigViewModel.minSceneTime
                    onValueModified: ConfigViewModel.minSceneTime = value
                }
                SettingLabel { text: qsTr("Longest time a scene plays (seconds)") }
                SpinBox {
                    from: 0; to: 3600; editable: true
                    value: ConfigViewModel.maxSceneTime
                    onValueModified: ConfigViewModel.maxSceneTime = value
                }
                SettingLabel { text: qsTr("Chance of a postprocessing pass") }
                PercentSlider {
                    from: 0; to: 100
                    value: ConfigViewModel.postProcessingProbability
                    onMoved: (v) => ConfigViewModel.postProcessingProbability = v
                }
            }
        }

        Section {
            title: qsTr("Transitions")
            GridLayout {
                anchors.fill: parent
                columns: 2
                columnSpacing: 16
                SettingLabel { text: qsTr("Length of a transition (seconds)") }
                SpinBox {
                    from: 0; to: 60; editable: true
                    value: ConfigViewModel.transitionTime
                    onValueModified: ConfigViewModel.transitionTime = value
                }
                SettingLabel { text: qsTr("Size of the scene going out") }
                PercentSlider {
                    from: 0; to: 100
                    value: ConfigViewModel.transitionFromScale
                    onMoved: (v) => ConfigViewModel.transitionFromScale = v
                }
                SettingLabel { text: qsTr("Size of the scene coming in") }
                PercentSlider {
                    from: 0; to: 100
                    value: ConfigViewModel.transitionToScale
                    onMoved: (v) => ConfigViewModel.transitionToScale = v
                }
            }
        }

        Section {
            title: qsTr("Picture")
            GridLayout {
                anchors.fill: parent
                columns: 2
                columnSpacing: 16
                SettingLabel { text: qsTr("Render size, of the window's size (lower is faster)") }
                PercentSlider {
                    objectName: "renderSizeSlider"
                    from: 10; to: 200
                    value: ConfigViewModel.renderTargetSize
                    onMoved: (v) => ConfigViewModel.renderTargetSize = v
                }
            }
        }

        Section {
            title: qsTr("Sound")
            GridLayout {
                anchors.fill: parent
                columns: 2
                columnSpacing: 16
                SettingLabel { text: qsTr("React to the sound the computer plays") }
                Switch {
                    checked: ConfigViewModel.captureSound
                    onToggled: ConfigViewModel.captureSound = checked
                }
                SettingLabel { text: qsTr("Sound source") }
                RowLayout {
                    enabled: ConfigViewModel.captureSound
                    ComboBox {
                        id: sourceBox
                        Layout.fillWidth: true
                        model: [{ name: "", description: qsTr("What the default output plays") }].concat(page.audioSources)
                        textRole: "description"
                        currentIndex: {
                            for (var i = 0; i < model.length; ++i) {
                                if (model[i].name === ConfigViewModel.audioSource)
                                    return i
                            }
                            return 0
                        }
                        onActivated: (i) => ConfigViewModel.audioSource = model[i].name
                    }
                    Button { text: qsTr("Look for sources"); flat: true; onClicked: page.refreshSources() }
                }
                SettingLabel { text: qsTr("Silence before the sound counts as gone (seconds)") }
                SpinBox {
                    from: 0; to: 3600; editable: true
                    enabled: ConfigViewModel.captureSound
                    value: ConfigViewModel.maxSoundCaptureSilence
                    onValueModified: ConfigViewModel.maxSoundCaptureSilence = value
                }
            }
        }

        Section {
            title: qsTr("Privacy")
            GridLayout {
                anchors.fill: parent
                columns: 2
                columnSpacing: 16
                SettingLabel { text: qsTr("Send anonymous usage statistics (how long and how often Lumora runs)") }
                Switch {
                    objectName: "statsSwitch"
                    checked: ConfigViewModel.sendUsageStats
                    onToggled: ConfigViewModel.sendUsageStats = checked
                }
                SettingLabel { text: qsTr("Look for a new version") }
                Switch {
                    checked: ConfigViewModel.checkForNewVersion
                    onToggled: ConfigViewModel.checkForNewVersion = checked
                }
            }
        }
        Item { Layout.preferredHeight: 12 }
    }
}
