/// \file scenes.h
/// The states in which the windows are looked at.
#pragma once

#include "model/app_language.h"

#include <QPixmap>
#include <QString>

#include <functional>
#include <vector>

namespace ovrel::test {

/// One window in one state.
struct Scene {
    QString name;
    std::function<QPixmap(AppLanguage)> picture; ///< in the theme that is set
};

std::vector<Scene> scenes();

/// \name Parts of them
/// @{
/// The panel of updates.
std::vector<Scene> updateScenes();
/// Every kind of control as the pointer, the keyboard and the program change it.
std::vector<Scene> componentScenes();
/// @}

} // namespace ovrel::test
