pragma Singleton
import QtQuick

// The colours and sizes every page shares.
QtObject {
    readonly property color background: "#15161b"
    readonly property color panel: "#1e2028"
    readonly property color card: "#262933"
    readonly property color cardHover: "#2f3340"
    readonly property color accent: "#9b7bff"
    readonly property color text: "#e9e9ef"
    readonly property color dimText: "#a3a6b4"
    readonly property color broken: "#e0625a"
    readonly property color chip: "#343848"
    readonly property int radius: 8
    readonly property int gap: 12
}
