import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts
import QtQuick.Window
import Lumora 1.0

ApplicationWindow {
    id: window
    objectName: "mainWindow"
    width: 1280
    height: 800
    minimumWidth: 1024
    minimumHeight: 600
    visible: false
    title: "Lumora v2.0"

    Material.theme: Material.Dark
    Material.accent: Theme.accent
    Material.primary: Theme.panel
    color: Theme.background

    property alias pages: pages

    function showPage(index) {
        tabs.currentIndex = index
    }

    Shortcut { sequence: "Ctrl+1"; onActivated: window.showPage(0) }
    Shortcut { sequence: "Ctrl+2"; onActivated: window.showPage(1) }
    Shortcut { sequence: "Ctrl+3"; onActivated: window.showPage(2) }
    Shortcut { sequence: "Ctrl+R"; onActivated: ConfigViewModel.startVisualizer() }
    Shortcut { sequence: "Ctrl+S"; onActivated: ConfigViewModel.save() }

    header: ToolBar {
        Material.background: Theme.panel
        height: 56
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 16
            anchors.rightMargin: 12
            spacing: 16
            Label {
                text: "Lumora"
                font.pixelSize: 22
                font.weight: Font.DemiBold
                color: Theme.accent
            }
            TabBar {
                id: tabs
                objectName: "tabs"
                Layout.alignment: Qt.AlignBottom
                Material.background: "transparent"
                TabButton { text: qsTr("Scenes"); width: implicitWidth + 24 }
                TabButton { text: qsTr("Playlists"); width: implicitWidth + 24 }
                TabButton { text: qsTr("Settings"); width: implicitWidth + 24 }
            }
            Item { Layout.fillWidth: true }
            Label {
                text: ConfigViewModel.activePlaylist
                      ? qsTr("Playlist: %1 (%2 scenes)").arg(ConfigViewModel.activePlaylist.name)
                                                       .arg(ConfigViewModel.activePlaylist.scenesSelected)
                      : qsTr("No playlist chosen")
                color: Theme.dimText
                elide: Text.ElideRight
                Layout.maximumWidth: 320
            }
            Button {
                objectName: "startButton"
                text: qsTr("Start visualizer")
                highlighted: true
                ToolTip.visible: hovered
                ToolTip.text: qsTr("Saves everything and plays the playlist to run (Ctrl+R)")
                onClicked: ConfigViewModel.startVisualizer()
            }
        }
    }

    StackLayout {
        id: pages
        anchors.fill: parent
        currentIndex: tabs.currentIndex
        SceneBrowser { id: browser; objectName: "sceneBrowser" }
        PlaylistEditor { objectName: "playlistEditor"; onChooseScenes: window.showPage(0) }
        SettingsPage { objectName: "settingsPage" }
    }

    footer: Rectangle {
        height: 28
        color: Theme.panel
        Label {
            anchors.verticalCenter: parent.verticalCenter
            anchors.left: parent.left
            anchors.leftMargin: 16
            color: Theme.dimText
            font.pixelSize: 12
            text: qsTr("%1 of %2 scenes shown").arg(browser.shownCount).arg(ConfigViewModel.allScenes.count)
                  + "  ·  " + qsTr("Runs: %1").arg(ConfigViewModel.playlistToRun
                                                   ? ConfigViewModel.playlistToRun.split("/").pop() : "—")
                  + "  ·  Ctrl+F search  ·  Enter preview  ·  Ctrl+R start"
        }
    }
}
