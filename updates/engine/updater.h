/// \file updater.h
/// The updater of an installation that its user owns: a directory unpacked from an archive.
#pragma once

#include "updates/engine/answer.h"
#include "updates/engine/download.h"
#include "updates/engine/item_choice.h"
#include "updates/engine/preparation.h"
#include "updates/engine/updater_environment.h"
#include "updates/framework/spu_updater.h"

#include <QObject>

#include <qcoro/qcorotask.h>

#include <memory>
#include <optional>
#include <stop_token>

namespace ovrel {

/// Downloads nothing and checks nothing by itself. An update that was prepared and put off waits, in this process and
/// an installer's, until the program ends; the next check offers it again. Its state of its own lies in one file.
class Updater final : public QObject, public SPUUpdater {
    Q_DISABLE_COPY_MOVE(Updater)

public:
    Updater(UpdaterEnvironment environment, SPUUserDriver& driver, SPUUpdaterDelegate& delegate);
    ~Updater() override;

    std::optional<UpdateError> startUpdater() override;
    bool sessionInProgress() const override { return sessionInProgress_; }
    bool canCheckForUpdates() const override { return canCheck_; }
    void checkForUpdates() override;
    void checkForUpdatesInBackground() override;

    /// This engine checks and downloads only when it is asked, and sends no profile: what others ask for is ignored.
    void setAutomaticallyChecksForUpdates(bool /*automatic*/) override {}
    void setAutomaticallyDownloadsUpdates(bool /*automatic*/) override {}
    void setSendsSystemProfile(bool /*sends*/) override {}
    void setUserAgentString(const QString& text) override { userAgent_ = text; }

private:
    /// How a session ends.
    struct End {
        std::optional<UpdateError> error;
        bool shown = true; ///< whether the driver was told of anything, or might have been
    };

    // The session, step by step; each goes on to the next and gives the session's end.
    QCoro::Task<void> session(SPUUpdateCheck check);
    QCoro::Task<End> checked(SPUUpdateCheck check);
    QCoro::Task<End> searched(SPUUpdateCheck check, QUrl address);
    QCoro::Task<End> notFound(SPUUpdateCheck check, UpdateError error);
    QCoro::Task<End> offered(SPUUpdateCheck check, AppcastItem item, SPUUserUpdateStage stage);
    QCoro::Task<End> downloaded(SPUUpdateCheck check, AppcastItem item);
    QCoro::Task<End> prepared(SPUUpdateCheck check, AppcastItem item, std::shared_ptr<Preparation> preparation);
    QCoro::Task<End> installed(SPUUpdateCheck check, SUAppcastItem item);
    QCoro::Task<End> failed(SPUUpdateCheck check, UpdateError error);
    void finish(SPUUpdateCheck check, const End& end);

    void throwAway();
    std::optional<UpdateError> misconfiguration() const;
    bool isManaged() const; ///< so that the installation is not ours to change
    ItemConditions conditions(SPUUpdateCheck check) const;
    DownloadOptions downloadOptions() const;

    const UpdaterEnvironment environment_;
    SPUUserDriver& driver_;
    SPUUpdaterDelegate& delegate_;
    QString userAgent_;
    bool started_ = false;
    bool sessionInProgress_ = false;
    bool canCheck_ = false;
    bool isOffering_ = false; ///< from the offer to the end of the session

    /// Unpacked, and waiting for the end of the program.
    struct Waiting {
        AppcastItem item;
        PendingInstallation installation;
    };
    std::optional<Waiting> waiting_;

    std::stop_source gone_; ///< requested when this goes: the session ends by it
};

} // namespace ovrel
