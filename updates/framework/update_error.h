/// \file update_error.h
/// What the updater failed at.
#pragma once

#include "model/app_language.h"

#include <QString>

#include <exception>
#include <memory>
#include <optional>

namespace ovrel {

/// Numbers of the framework's own domain.
enum class SUError : int {
    insecure = 1,               ///< the public key is missing or is none
    invalidFeedURL = 4,         ///< there is no feed, or it is not https
    invalidUpdater = 5,         ///< this build cannot update itself
    appcastParse = 1000,        ///< the feed breaks its rules
    noUpdate = 1001,            ///< nothing newer than what runs
    runningFromReadOnly = 1003, ///< the program's folder cannot be written
    temporaryDirectory = 2000,  ///< no staging directory could be made
    download = 2001,
    unarchiving = 3000,
    signature = 3001,            ///< absent, malformed or of another key
    validation = 3002,           ///< the archive is not what the feed says
    installation = 4005,         ///< what verification and installation report; the cause lies underneath
    downgrade = 4006,            ///< the archive holds no newer version
    installationCanceled = 4007, ///< by the user
    noWritePermission = 4012,    ///< the program's folder belongs to somebody else
};

/// Why nothing was found.
enum class SPUNoUpdateFoundReason : int {
    unknown = 0,
    onLatestVersion = 1,
    onNewerThanLatestVersion = 2,
    systemIsTooOld = 3,
    systemIsTooNew = 4,
};

/// A value; the engine also throws it. Any thread.
class UpdateError : public std::exception {
public:
    /// The framework's own domain.
    static QString frameworkDomain();

    UpdateError(QString domain, int code, QString russian, QString english);
    UpdateError(SUError code, QString russian, QString english);

    const QString& domain() const { return domain_; }
    int code() const { return code_; }
    bool is(SUError code) const;

    /// A sentence or two for the user. A framework that knows one language only gives the same for both.
    QString localizedDescription(AppLanguage language) const;

    /// The error that led to this one. \return null for none
    const UpdateError* underlying() const { return underlying_.get(); }
    UpdateError withUnderlying(UpdateError cause) const;

    /// Stated by noUpdate alone.
    const std::optional<SPUNoUpdateFoundReason>& noUpdateFoundReason() const { return reason_; }
    UpdateError withReason(SPUNoUpdateFoundReason reason) const;

    const char* what() const noexcept override { return "update error"; }

private:
    QString domain_;
    int code_;
    QString russian_;
    QString english_;
    std::shared_ptr<const UpdateError> underlying_;
    std::optional<SPUNoUpdateFoundReason> reason_;
};

} // namespace ovrel
