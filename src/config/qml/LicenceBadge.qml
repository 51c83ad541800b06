import QtQuick
import QtQuick.Controls.Material
import QtQuick.Layouts

// A content licence drawn as its parts ("CC", "BY", "NC", "SA") and version,
// sharp at any size.
RowLayout {
    id: badge
    property string licence: ""
    readonly property var words: licence.split(" ")
    readonly property var parts: words.length > 1 ? words[1].split("-") : []
    spacing: 2

    function partColour(part) {
        switch (part) {
        case "NC": return "#c9894a"
        case "SA": return "#4a9bc9"
        case "ND": return "#c94a5e"
        default: return "#5e6378"
        }
    }

    Rectangle {
        radius: 4
        color: Theme.accent
        implicitWidth: cc.implicitWidth + 10
        implicitHeight: 22
        Label { id: cc; anchors.centerIn: parent; text: badge.words[0] || "—"; color: "#15161b"; font.bold: true; font.pixelSize: 12 }
    }
    Repeater {
        model: badge.parts
        Rectangle {
            required property string modelData
            radius: 4
            color: badge.partColour(modelData)
            implicitWidth: part.implicitWidth + 10
            implicitHeight: 22
            Label { id: part; anchors.centerIn: parent; text: parent.modelData; color: "white"; font.bold: true; font.pixelSize: 12 }
        }
    }
    Label {
        visible: badge.words.length > 2
        text: badge.words.length > 2 ? badge.words[2] : ""
        color: Theme.dimText
        font.pixelSize: 12
        leftPadding: 4
    }
}
