#include "cli/display_text.h"

#include <QByteArrayView>
#include <QChar>
#include <QList>
#include <QStringConverter>

#include <cwchar>

namespace ovrel::cli {

namespace {

std::size_t columnsOf(char32_t character) {
    const int columns = ::wcwidth(static_cast<wchar_t>(character));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

QStringDecoder utf8Decoder() {
    // A name may begin with a byte order mark, which belongs to it.
    return QStringDecoder(QStringConverter::Utf8,
                          QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
}

QByteArrayView view(std::string_view bytes) {
    return {bytes.data(), static_cast<qsizetype>(bytes.size())};
}

} // namespace

QString decoded(std::string_view bytes) {
    return utf8Decoder().decode(view(bytes));
}

std::optional<QString> decodedExactly(std::string_view bytes) {
    QStringDecoder decoder = utf8Decoder();
    QString text = decoder.decode(view(bytes));
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return text;
}

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
    QString text = decoded(bytes);
    for (QChar& character : text) {
        if (isControl(character.unicode())) {
            character = QChar::ReplacementCharacter;
        }
    }
    return text.toStdString();
}

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    for (const char32_t character : decoded(text).toUcs4()) {
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
    for (const char32_t character : decoded(text).toUcs4()) {
        used += columnsOf(character);
        if (used > columns) {
            break;
        }
        kept += QString::fromUcs4(&character, 1);
    }
    return kept.toStdString() + "…";
}

} // namespace ovrel::cli
