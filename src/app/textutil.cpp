#include "app/textutil.h"

#include <QString>

#include <algorithm>

namespace {

char LowerOf(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char UpperOf(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool IsAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

std::string WithSlashes(std::string_view path)
{
    std::string result(path);
    std::replace(result.begin(), result.end(), '\\', '/');
    return result;
}

bool EqualNoCase(std::string_view a, std::string_view b)
{
    if (!IsAscii(a) || !IsAscii(b))
        return ToQt(a).compare(ToQt(b), Qt::CaseInsensitive) == 0;
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return LowerOf(x) == LowerOf(y); });
}

std::string AsciiLower(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), LowerOf);
    return result;
}

std::string AsciiUpper(std::string_view text)
{
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), UpperOf);
    return result;
}

QString ToQt(std::string_view text)
{
    return QString::fromUtf8(text.data(), qsizetype(text.size()));
}

std::string ToStd(QStringView text)
{
    return text.toUtf8().toStdString();
}
