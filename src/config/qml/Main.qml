import QtQuick
import QtQuick.Controls
import Lumora 1.0

ApplicationWindow {
    width: 1280
    height: 800
    visible: false
    Label { text: ConfigViewModel.allScenes.count + " scenes" }
}
