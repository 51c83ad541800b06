#pragma once

#include <QByteArray>

// The scene files of the first generation have no XML declaration, keep the
// camera on the first RenderObject node, and store each port value as an
// attribute of its node. These functions bring such a text to the current
// form; Deserialize then reads it like any other scene.
namespace SceneMigration {

// Deeper documents are left as they are: the DOM that the migration builds
// is walked recursively by Qt.
constexpr int MaxDepth = 256;

// True if the text is of the first generation (no "<?xml" at its start).
bool IsOldestForm(const QByteArray& text);

// Keeps line breaks and tabs inside attribute values as character
// references, which an XML parser would otherwise turn into blanks, then
// rewrites the nodes. A text that doesn't parse, or that nests too deeply,
// comes back with only the first step done, so that the reader reports the
// fault where it is.
QByteArray MigrateOldestForm(QByteArray text);

} // namespace SceneMigration
