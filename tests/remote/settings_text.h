/// \file settings_text.h
/// Short ways to settings from a text, and to what is wrong with one.
#pragma once

#include "remote/banner_error.h"
#include "remote/banner_settings.h"

#include <QByteArray>
#include <QString>

#include <utility>

namespace ovrel::test {

/// \param text UTF-8
inline BannerSettings parse(const QByteArray& text) {
    return BannerSettings(QString::fromUtf8(text));
}

/// Whether `call` ends by BannerError::invalid. Every other error goes on.
template <typename Call>
bool isInvalid(Call&& call) {
    try {
        static_cast<void>(std::forward<Call>(call)());
    } catch (const BannerError& error) {
        if (error != BannerError::invalid) {
            throw;
        }
        return true;
    }
    return false;
}

} // namespace ovrel::test
