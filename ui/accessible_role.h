/// \file accessible_role.h
/// What a screen reader takes a widget for, where the widget's class does not tell.
#pragma once

#include <QAccessible>
#include <QWidget>

namespace ovrel {

/// To be called before anybody asks for the widget's accessible interface, best in its constructor. Main thread.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

} // namespace ovrel
