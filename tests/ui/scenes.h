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

} // namespace ovrel::test
