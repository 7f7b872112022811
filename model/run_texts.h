/// \file run_texts.h
/// What a run says of its images, wherever it is shown.
#pragma once

#include "model/app_language.h"

#include <QString>

#include <exception>

namespace ovrel {

/// What a conversion or copy has written.
struct WrittenImage {
    QString fileName;        ///< of the file written, without its folders
    bool copied = false;     ///< the source is AVIF
    bool multiFrame = false; ///< the source holds several images
    bool gif = false;        ///< the source is a GIF
};

/// "✓ photo.avif", and what is special about it.
QString successText(AppLanguage language, const WrittenImage& image);

/// \param error not null
QString failureText(AppLanguage language, const std::exception_ptr& error);

/// "Converting 3 of 10: ", to stand before the name of the image in hand.
/// \param number from 1
QString activityText(AppLanguage language, bool copying, qint64 number, qint64 images);

/// "Done: 9 successful, 1 failed", the summary of a run.
/// \param stopped by the user
QString summaryText(AppLanguage language, bool stopped, qint64 successes, qint64 failures);

/// "1 failed"
QString failuresText(AppLanguage language, qint64 failures);

/// "7 remaining", which follows the summary of a run that was stopped.
QString remainingText(AppLanguage language, qint64 images);

} // namespace ovrel
