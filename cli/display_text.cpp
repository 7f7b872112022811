#include "cli/display_text.h"

#include "model/path_text.h"

#include <QChar>
#include <QList>
#include <QString>

#include <cwchar>

namespace ovrel::cli {

namespace {

std::size_t columnsOf(char32_t character) {
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

} // namespace

bool isControl(char16_t character) {
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph: return true;
    default: break;
    }
    // Bidi_Control (Unicode Standard Annex #9, section 2)
    return character == 0x061C || character == 0x200E || character == 0x200F ||
           (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

std::string displayable(std::string_view bytes) {
    QString text = textOf(bytes);
    for (QChar& character : text) {
        if (isControl(character.unicode())) {
            character = QChar::ReplacementCharacter;
        }
    }
    return text.toStdString();
}

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    for (const char32_t character : textOf(text).toUcs4()) {
        columns += columnsOf(character);
    }
    return columns;
}

std::string cut(std::string_view text, std::size_t columns) {
    if (columnsOf(text) <= columns) {
        return std::string(text);
    }
    if (columns == 0) {
        return {};
    }
    QString kept;
    std::size_t used = 1; // the ellipsis
    for (const char32_t character : textOf(text).toUcs4()) {
        used += columnsOf(character);
        if (used > columns) {
            break;
        }
        kept += QString::fromUcs4(&character, 1);
    }
    return kept.toStdString() + "…";
}

} // namespace ovrel::cli
