#pragma once

#include <string>
#include <string_view>

class QString;
class QStringView;

// Small text helpers that several subsystems share.

// Paths from files written on Windows use backslashes; Lumora uses slashes.
std::string WithSlashes(std::string_view path);

// Case-insensitive equality: ASCII letters fold directly, text with other
// letters through Qt's Unicode case folding.
bool EqualNoCase(std::string_view a, std::string_view b);

// ASCII letters only; other bytes stay as they are.
std::string AsciiLower(std::string_view text);
std::string AsciiUpper(std::string_view text);

// Our strings hold UTF-8.
QString ToQt(std::string_view text);
std::string ToStd(QStringView text);
