/// \file update_manager.h
/// Updates of the program: when it looks for them, what the user sees of that, and when work comes first.
#pragma once

#include "model/app_language.h"
#include "remote/banner_settings.h"
#include "updates/framework/spu_updater.h"
#include "updates/update_panel.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <qcoro/qcorotask.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace ovrel {

struct UpdateText;

/// Drives the updater and speaks for it to the user, in one panel. Whatever would disturb the processing of images is
/// put off until that has ended. Main thread.
class UpdateManager : public QObject, public SPUUserDriver, public SPUUpdaterDelegate {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UpdateManager)
    Q_PROPERTY(bool installing READ installing NOTIFY installingChanged)
    Q_PROPERTY(bool checking READ checking NOTIFY checkingChanged)
    Q_PROPERTY(QString heading READ heading NOTIFY headingChanged)
    Q_PROPERTY(QString detail READ detail NOTIFY detailChanged)
    Q_PROPERTY(std::optional<double> progress READ progress NOTIFY progressChanged)
    Q_PROPERTY(bool showsProgress READ showsProgress NOTIFY showsProgressChanged)
    Q_PROPERTY(QList<ovrel::UpdateManager::Action> actions READ actions NOTIFY actionsChanged)

public:
    /// A button of the panel. Two are equal when they are copies of the same one.
    struct Action {
        Action(QString buttonTitle, std::function<void()> whenPressed);
        friend bool operator==(const Action& left, const Action& right) { return left.id == right.id; }

        QUuid id; ///< of this action alone
        QString title;
        /// Runs on the main thread while the manager lives. It may replace the manager's actions, so that whoever calls
        /// it holds a copy meanwhile.
        std::function<void()> perform;
    };

    /// What the manager asks of others. None is empty, but the panel.
    struct Services {
        std::function<QCoro::Task<BannerSettings>()> loadSettings; ///< may throw anything
        UpdaterFactory makeUpdater;                                ///< called until it makes one
        std::function<AppLanguage()> language;                     ///< asked whenever something is shown
        UpdatePanelFactory makePanel;                              ///< called once, when something is shown first
    };

    explicit UpdateManager(Services services, QObject* parent = nullptr);
    /// Whatever still waits for a reply is dismissed.
    ~UpdateManager() override;

    /// The one of the program. It lives as long as the application and has no panel of its own.
    static UpdateManager& shared();

    /// Replaces the factory. Without one nothing is seen; a panel that exists stays.
    void setPanelFactory(UpdatePanelFactory makePanel);

    /// The user chose to install, and it has neither failed nor been called off.
    bool installing() const { return installing_; }
    /// From the beginning of a check to the end of what the updater does about it.
    bool checking() const { return checking_; }
    const QString& heading() const { return heading_; }
    /// May be empty, and may have several paragraphs.
    const QString& detail() const { return detail_; }
    /// 0 … 1, or nothing where nobody knows how long it takes.
    std::optional<double> progress() const { return progress_; }
    /// Whether the panel shows how far things are.
    bool showsProgress() const { return showsProgress_; }
    /// In the order in which they are shown.
    QList<Action> actions() const { return actions_; }

    /// Images are being collected or converted.
    bool processing() const { return processing_; }
    /// When processing has ended, what was put off last is done before this returns. A check begins afterwards.
    void setProcessing(bool processing);

    /// The check at the start of the program; only the first call has an effect. Never throws.
    QCoro::Task<void> launch();

    /// Looks for an update. May end long before `checking` does, and may outlive the manager. Never throws.
    /// \param manual the user asked, and is told of everything; otherwise only an update is shown
    QCoro::Task<void> check(bool manual);

    /// Fills the panel and brings it to the front.
    /// \param progress whether to show an indicator, which is indeterminate at first
    void show(const QString& heading, const QString& detail, bool progress, const QList<Action>& actions);

    /// Shows a message that the user has to confirm.
    /// \param completion runs when they have; not empty
    void notice(const QString& heading, const QString& detail, std::function<void()> completion);

    void showUpdatePermissionRequest(PermissionReply reply) override;
    void showUserInitiatedUpdateCheckWithCancellation(Cancellation cancellation) override;
    void showUpdateFoundWithAppcastItem(const SUAppcastItem& item, SPUUserUpdateState state,
                                        ChoiceReply reply) override;
    void showUpdateReleaseNotesWithDownloadData(const QByteArray& notes) override;
    void showUpdateReleaseNotesFailedToDownloadWithError(const UpdateError& error) override;
    void showUpdateNotFoundWithError(const UpdateError& error, Acknowledgement acknowledgement) override;
    void showUpdaterError(const UpdateError& error, Acknowledgement acknowledgement) override;
    void showDownloadInitiatedWithCancellation(Cancellation cancellation) override;
    void showDownloadDidReceiveExpectedContentLength(std::uint64_t bytes) override;
    void showDownloadDidReceiveDataOfLength(std::uint64_t bytes) override;
    void showDownloadDidStartExtractingUpdate() override;
    void showExtractionReceivedProgress(double progress) override;
    void showReadyToInstallAndRelaunch(ChoiceReply reply) override;
    void showInstallingUpdateWithApplicationTerminated(bool applicationTerminated,
                                                       OneShot<> retryTerminatingApplication) override;
    void showUpdateInstalledAndRelaunched(bool relaunched, Acknowledgement acknowledgement) override;
    void showUpdateInFocus() override;
    void dismissUpdateInstallation() override;

    std::optional<QString> feedURLStringForUpdater() override;
    bool mayPerformUpdateCheck(SPUUpdateCheck check, std::optional<UpdateError>& error) override;
    bool shouldPostponeRelaunchForUpdate(const SUAppcastItem& item, OneShot<> untilInvokingBlock) override;
    void didFinishUpdateCycleForUpdateCheck(SPUUpdateCheck check, const std::optional<UpdateError>& error) override;

Q_SIGNALS:
    void installingChanged();
    void checkingChanged();
    void headingChanged();
    void detailChanged();
    void progressChanged();
    void showsProgressChanged();
    void actionsChanged();

private:
    using Signal = void (UpdateManager::*)();

    /// Sets a published property, and tells of it when it has become another one.
    template <typename Value>
    void publish(Value& property, std::type_identity_t<Value> value, Signal changed) {
        if (property != value) {
            property = std::move(value);
            Q_EMIT(this->*changed)();
        }
    }
    void setInstalling(bool installing) { publish(installing_, installing, &UpdateManager::installingChanged); }
    void setChecking(bool checking) { publish(checking_, checking, &UpdateManager::checkingChanged); }
    void setProgress(std::optional<double> progress) { publish(progress_, progress, &UpdateManager::progressChanged); }
    void setActions(const QList<Action>& actions) { publish(actions_, actions, &UpdateManager::actionsChanged); }

    /// Keeps one step until processing has ended. A reply that waits in an earlier one is dropped with it.
    void defer(std::function<void()> step);
    void dropPending();

    QString text(const UpdateText& text) const;
    void bringPanelForward();
    void hidePanel();

    void putOffCheck(bool manualCheck);
    void checkFeed(const QUrl& feed);
    void endDisabledCheck();
    void failCheck();

    void offer(const SUAppcastItem& item, SPUUserUpdateState state, const ChoiceReply& reply);
    void install(const SUAppcastItem& item, SPUUserUpdateState state, const ChoiceReply& reply);
    void endInstallation();

    Services services_;

    bool installing_ = false;
    bool checking_ = false;
    QString heading_;
    QString detail_;
    std::optional<double> progress_;
    bool showsProgress_ = false;
    QList<Action> actions_;

    bool processing_ = false;
    std::function<void()> pending_; ///< the step that waits for the end of processing; empty for none
    bool started_ = false;          ///< the updater has been started
    bool launched_ = false;         ///< the check at the start of the program has been asked for
    std::optional<QUrl> feedURL_;   ///< of the last settings that named one
    std::uint64_t expected_ = 0;    ///< bytes of the download; 0 when nobody said
    std::uint64_t received_ = 0;    ///< bytes of it so far
    bool manual_ = false;           ///< the user asked for the check
    bool authorized_ = false;       ///< the user chose to install this update

    std::unique_ptr<UpdatePanel> panel_;
    std::unique_ptr<SPUUpdater> updater_; ///< goes first, because it calls all of this
};

} // namespace ovrel
