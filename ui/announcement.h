/// \file announcement.h
/// News for those who listen to the window instead of looking at it.
#pragma once

class QString;
class QWidget;

namespace ovrel {

/// Has a screen reader say a text, when it has nothing else to say. Without one nothing happens. Main thread.
/// \param widget that shows the text
void announce(QWidget& widget, const QString& text);

} // namespace ovrel
