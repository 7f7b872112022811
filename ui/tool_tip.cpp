#include "ui/tool_tip.h"

#include <QKeySequence>

namespace ovrel {

QString plainToolTip(const QString& text) {
    return QStringLiteral("<p>%1</p>").arg(text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>")));
}

QString toolTipWithKeys(const QString& name, const QString& keys) {
    return QStringLiteral("%1 (%2)").arg(name, QKeySequence(keys).toString(QKeySequence::NativeText));
}

} // namespace ovrel
