/// \file update_texts.h
/// What the user reads about updates.
#pragma once

#include "model/app_language.h"

#include <QString>
#include <QStringView>

namespace ovrel {

/// A text in both languages.
struct UpdateText {
    QStringView russian;
    QStringView english;

    QString in(AppLanguage language) const { return language.choose(russian.toString(), english.toString()); }
};

namespace update_texts {

inline constexpr UpdateText panelTitle{u"Обновление Ovrel", u"Ovrel Update"};

inline constexpr UpdateText ok{u"OK", u"OK"};
inline constexpr UpdateText cancel{u"Отмена", u"Cancel"};
inline constexpr UpdateText later{u"Позже", u"Later"};
inline constexpr UpdateText install{u"Установить обновление", u"Install Update"};
inline constexpr UpdateText skipThisVersion{u"Пропустить эту версию", u"Skip This Version"};

inline constexpr UpdateText checking{u"Проверяем обновления…", u"Checking for updates…"};
inline constexpr UpdateText waitForProcessing{u"Дождитесь завершения обработки",
                                              u"Please wait for processing to finish"};
inline constexpr UpdateText disabled{u"Обновления пока отключены", u"Updates are currently disabled"};
inline constexpr UpdateText disabledDetail{u"Проверка обновлений отключена издателем приложения. Попробуйте позже.",
                                           u"Update checks are disabled by the app publisher. Please try again later."};
inline constexpr UpdateText checkFailed{u"Не удалось проверить обновления", u"Unable to check for updates"};
inline constexpr UpdateText checkFailedDetail{u"Проверьте подключение к интернету и повторите попытку позже.",
                                              u"Check your internet connection and try again later."};
inline constexpr UpdateText upToDate{u"Новых обновлений нет", u"No updates available"};
inline constexpr UpdateText upToDateDetail{u"У вас установлена последняя актуальная версия приложения.",
                                           u"You have the latest version of the app installed."};

/// Followed by the version.
inline constexpr UpdateText offer{u"Доступна новая версия Ovrel — ", u"A new version of Ovrel is available — "};
inline constexpr UpdateText offerDetail{
    u"Обновление будет загружено и проверено. Затем Ovrel установит его и перезапустится. Исходные изображения "
    u"останутся на месте.",
    u"The update will be downloaded and verified. Ovrel will then install it and restart. Your original images will "
    u"remain untouched."};
inline constexpr UpdateText unavailable{u"Обновление недоступно", u"Update unavailable"};
inline constexpr UpdateText waiting{u"Ожидаем завершения обработки…", u"Waiting for processing to finish…"};

inline constexpr UpdateText downloading{u"Загружаем обновление…", u"Downloading update…"};
inline constexpr UpdateText preparing{u"Проверяем и подготавливаем обновление…", u"Verifying and preparing update…"};
inline constexpr UpdateText installing{u"Устанавливаем обновление…", u"Installing update…"};
inline constexpr UpdateText installingDetail{u"Ovrel сейчас перезапустится.", u"Ovrel will restart shortly."};
inline constexpr UpdateText updateFailed{u"Не удалось обновить Ovrel", u"Unable to update Ovrel"};
/// Followed by an empty line and the error.
inline constexpr UpdateText updateFailedDetail{
    u"Обновление не было установлено. Повторите попытку позже. Если Ovrel открыта из DMG, сначала перенесите её в "
    u"«Программы».",
    u"The update was not installed. Please try again later. If Ovrel is running from a DMG, move it to Applications "
    u"first."};

/// Why the updater may not check.
inline constexpr UpdateText notFinished{u"Обработка ещё не завершена.", u"Processing has not finished yet."};

} // namespace update_texts

} // namespace ovrel
