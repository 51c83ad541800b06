import QtQuick
import QtTest
import Lumora 1.0

// The main window as a user drives it: filter, open a scene, tag it, edit a
// playlist, save, and a picture of it all.
TestCase {
    id: test
    name: "ConfigWindow"
    when: windowShown
    property var window: null

    function typeText(text) {
        for (var i = 0; i < text.length; ++i)
            keyClick(text[i])
    }
    function child(name) {
        var found = findChild(window, name)
        verify(found, "no item named " + name)
        return found
    }
    function sceneIndex(grid, name) {
        for (var i = 0; i < grid.count; ++i) {
            if (ConfigViewModel.filteredScenes.sceneAt(i).name === name)
                return i
        }
        return -1
    }

    function initTestCase() {
        var component = Qt.createComponent("qrc:/qml/Main.qml")
        compare(component.status, Component.Ready, component.errorString())
        window = component.createObject(null)
        window.width = 1280
        window.height = 800
        window.show()
        window.requestActivate()
        tryVerify(function() { return window.active }, 5000)
        waitForRendering(window.contentItem)
    }

    function test_1_typingInTheFilterShrinksTheGrid() {
        var grid = child("sceneGrid")
        var all = grid.count
        verify(all >= 15, "library holds " + all)
        var search = child("searchField")
        mouseClick(search)
        typeText("pla")
        tryCompare(grid, "count", 1)
        waitForItemPolished(grid)
        compare(grid.itemAtIndex(0).scene.name, "Plasma")
        search.text = ""
        tryCompare(grid, "count", all)
    }

    function test_2_aBrokenSceneShowsWhy() {
        var grid = child("sceneGrid")
        var at = sceneIndex(grid, "Damaged")
        verify(at >= 0)
        grid.positionViewAtIndex(at, GridView.Contain)
        waitForRendering(grid)
        var card = grid.itemAtIndex(at)
        verify(card.scene.broken)
        var tip = findChild(card, "brokenTip")
        verify(tip)
        mouseMove(card)
        tryVerify(function() { return tip.visible })
        verify(tip.text.indexOf("Damaged.lmc") >= 0, tip.text)
    }

    function test_3_openASceneAndAddATag() {
        var grid = child("sceneGrid")
        var at = sceneIndex(grid, "turingbloom")
        verify(at >= 0)
        grid.positionViewAtIndex(at, GridView.Contain)
        waitForRendering(grid)
        mouseClick(grid.itemAtIndex(at))
        compare(ConfigViewModel.activeScene.name, "turingbloom")
        mouseClick(child("newTagField"))
        typeText("calm")
        keyClick(Qt.Key_Return)
        verify(ConfigViewModel.activeScene.tags.indexOf("calm") >= 0)
        verify(testHelper.tagsInFile(ConfigViewModel.activeScene.filepath).indexOf("calm") >= 0)
    }

    function test_3b_arrowKeysChooseAndEnterPreviews() {
        var grid = child("sceneGrid")
        grid.forceActiveFocus()
        var before = grid.currentIndex
        keyClick(Qt.Key_Right)
        compare(grid.currentIndex, before + 1)
        compare(ConfigViewModel.activeScene, ConfigViewModel.filteredScenes.sceneAt(before + 1))
        keyClick(Qt.Key_Return)
        compare(testHelper.launched.slice(1), ["-f", ConfigViewModel.activeScene.filepath])
        verify(testHelper.launched[0].endsWith("/lumora"))
    }

    function test_4_editAPlaylistAndSave() {
        compare(ConfigViewModel.activePlaylist.name, "Evening")
        compare(ConfigViewModel.activePlaylist.scenesSelected, 4)
        window.showPage(1)
        mouseClick(child("newPlaylistField"))
        typeText("Night")
        mouseClick(child("createPlaylistButton"))
        compare(ConfigViewModel.activePlaylist.name, "Night")
        compare(ConfigViewModel.activePlaylist.scenesSelected, 0)

        // Back in the library, tick the scene that is open.
        window.showPage(0)
        waitForRendering(window.contentItem)
        mouseClick(child("inPlaylistBox"))
        compare(ConfigViewModel.activePlaylist.scenesSelected, 1)
        keyClick(Qt.Key_S, Qt.ControlModifier)
        var text = testHelper.readFile(userPath + "/playlists/Night.lmp")
        var file = ConfigViewModel.activeScene.filepath.split("/").pop()
        verify(text.indexOf(file) >= 0, file + " not in " + text)
        verify(testHelper.readFile(userPath + "/config.xml").indexOf("Night.lmp") >= 0)
    }

    function test_4b_settingsReachTheFileWhenTheFocusLeaves() {
        window.showPage(2)
        waitForRendering(window.contentItem)
        var stats = child("statsSwitch")
        verify(!stats.checked)
        // Below the fold at this size: reached by the keyboard.
        stats.forceActiveFocus()
        keyClick(Qt.Key_Space)
        verify(ConfigViewModel.sendUsageStats)
        var before = testHelper.readFile(userPath + "/config.xml")
        verify(before.indexOf('SendAnonymousUsageInfo="1"') < 0)
        testHelper.leaveFocus()
        verify(testHelper.readFile(userPath + "/config.xml").indexOf('SendAnonymousUsageInfo="1"') >= 0)
    }

    function test_5_screenshot() {
        ConfigViewModel.activePlaylist = ConfigViewModel.playlists[0]
        window.showPage(0)
        var grid = child("sceneGrid")
        grid.positionViewAtBeginning()
        grid.currentIndex = sceneIndex(grid, "Grid")
        grid.positionViewAtBeginning()
        compare(ConfigViewModel.activeScene.name, "Grid")
        // Away from the cards, so that no tooltip covers the picture.
        mouseMove(child("startButton"), -40, 20)
        wait(500)
        waitForRendering(window.contentItem)
        verify(testHelper.grab(window, "config.png", true))
    }

    function test_6_everyPageFitsTheSmallestWindow() {
        window.width = 1024
        window.height = 600
        var names = ["small-scenes.png", "small-playlists.png", "small-settings.png"]
        for (var page = 0; page < 3; ++page) {
            window.showPage(page)
            waitForRendering(window.contentItem)
            verify(testHelper.grab(window, names[page]))
        }
    }
}
