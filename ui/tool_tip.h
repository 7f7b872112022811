/// \file tool_tip.h
/// Tool tips that say what they are given.
#pragma once

#include <QString>

namespace ovrel {

/// For a place that takes rich text, too: shown as it is, in lines of a width that can be read.
QString plainToolTip(const QString& text);

/// A control's name with the keys that do the same, for its tool tip.
/// \param keys in the form of QKeySequence
QString toolTipWithKeys(const QString& name, const QString& keys);

} // namespace ovrel
