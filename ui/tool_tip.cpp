#include "ui/tool_tip.h"

#include <QFontMetrics>
#include <QKeySequence>
#include <QStringList>
#include <QToolTip>

#include <algorithm>

namespace ovrel {

namespace {

constexpr int greatestWidth = 360; ///< pixels, of text

bool isNarrow(const QString& text) {
    const QFontMetrics font(QToolTip::font());
    const QStringList lines = text.split(u'\n');
    return std::all_of(lines.begin(), lines.end(),
                       [&](const QString& line) { return font.horizontalAdvance(line) <= greatestWidth; });
}

} // namespace

// Left to itself, Qt breaks the lines of such texts so that they stand in a narrow column.
QString plainToolTip(const QString& text) {
    const QString escaped = text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>"));
    return isNarrow(text)
               ? QStringLiteral("<p style=\"white-space: pre\">%1</p>").arg(escaped)
               : QStringLiteral("<table width=\"%1\"><tr><td>%2</td></tr></table>").arg(greatestWidth).arg(escaped);
}

QString toolTipWithKeys(const QString& name, const QString& keys) {
    return QStringLiteral("%1 (%2)").arg(name, QKeySequence(keys).toString(QKeySequence::NativeText));
}

} // namespace ovrel
