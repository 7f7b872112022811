/// \file model.h
/// Everything behind the main window: the list of images, the settings, and the run that converts the list.
#pragma once

#include "conversion/converter.h"
#include "desktop/file_chooser.h"
#include "desktop/preferences.h"
#include "desktop/sleep_inhibitor.h"
#include "model/app_language.h"
#include "model/background.h"
#include "model/file_status.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <qcoro/qcorotask.h>

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace ovrel {

class UpdateManager;

/// Main thread. Each step changes the state as a whole and tells of it afterwards; whoever listens may do anything,
/// ending the model included. An item is known by InputItem::id, which is bytes and no text.
///
/// A model may end at any moment. What is being converted then is finished in the background, nothing else is begun,
/// and updates wait until the program ends, since nobody would tell them when the image is done.
class Model : public QObject {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Model)

public:
    using Items = QList<InputItem>; ///< copies share their content
    using Ids = std::unordered_set<std::string>;
    using Paths = std::vector<std::filesystem::path>;
    using Statuses = std::unordered_map<std::string, FileStatus>;

private:
    Q_PROPERTY(Items items READ items NOTIFY itemsChanged)
    Q_PROPERTY(Ids selection READ selection WRITE setSelection NOTIFY selectionChanged)
    Q_PROPERTY(Paths roots READ roots NOTIFY rootsChanged)
    Q_PROPERTY(bool recursive READ recursive WRITE setRecursive NOTIFY recursiveChanged)
    Q_PROPERTY(bool targeted READ targeted WRITE setTargeted NOTIFY targetedChanged)
    Q_PROPERTY(bool scanning READ scanning NOTIFY scanningChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY busyChanged)
    Q_PROPERTY(bool cancelled READ cancelled WRITE setCancelled NOTIFY cancelledChanged)
    Q_PROPERTY(qint64 completed READ completed NOTIFY completedChanged)
    Q_PROPERTY(qint64 successes READ successes NOTIFY successesChanged)
    Q_PROPERTY(qint64 failures READ failures NOTIFY failuresChanged)
    Q_PROPERTY(std::optional<ovrel::InputItem> activeItem READ activeItem NOTIFY activeItemChanged)
    Q_PROPERTY(bool finished READ finished NOTIFY finishedChanged)
    Q_PROPERTY(Statuses statuses READ statuses NOTIFY statusesChanged)
    Q_PROPERTY(QString messageKey READ messageKey NOTIFY messageKeyChanged)
    Q_PROPERTY(std::exception_ptr error READ error WRITE setError NOTIFY errorChanged)
    Q_PROPERTY(std::optional<std::filesystem::path> output READ output WRITE setOutput NOTIFY outputChanged)
    Q_PROPERTY(double quality READ quality WRITE setQuality NOTIFY qualityChanged)
    Q_PROPERTY(ovrel::EncodingMode mode READ mode WRITE setMode NOTIFY modeChanged)
    Q_PROPERTY(qint64 speed READ speed WRITE setSpeed NOTIFY speedChanged)
    Q_PROPERTY(ovrel::AppLanguage language READ language WRITE setLanguage NOTIFY languageChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY canStartChanged)
    Q_PROPERTY(bool canEditQueue READ canEditQueue NOTIFY canEditQueueChanged)
    Q_PROPERTY(QString message READ message NOTIFY messageChanged)

public:
    using ScanFunction = std::function<std::vector<InputItem>(std::span<const std::filesystem::path>, bool recursive)>;
    using ConvertFunction = std::function<ConversionResult(const InputItem&, const std::filesystem::path& output,
                                                           double quality, EncodingMode mode, int speed)>;

    /// What the model asks of others. Nothing is null or empty.
    struct Services {
        std::shared_ptr<FileChooser> chooser;
        std::shared_ptr<Preferences> preferences;
        UpdateManager* updateManager = nullptr; ///< outlives the model
        SleepInhibitor keepAwake;
        ScanFunction scan = Converter::scan;          ///< called on another thread
        ConvertFunction convert = Converter::convert; ///< called on another thread, never twice at once
        std::function<bool()> supported = Converter::supported;
    };

    explicit Model(Services services, QObject* parent = nullptr);
    ~Model() override;

    /// Those of the program: the user's preferences, UpdateManager::shared() and the desktop's services.
    static Services programServices(std::shared_ptr<FileChooser> chooser);

    // The list of images.

    /// The order is that of the scan. No id occurs twice.
    const Items& items() const { return items_; }
    /// Ids of items.
    const Ids& selection() const { return selection_; }
    void setSelection(Ids ids);
    /// Changes a part of the selection, in time that its size alone decides.
    void select(const std::vector<std::string>& ids, bool selected);
    /// What the user added, each once.
    const Paths& roots() const { return roots_; }
    /// Whether folders inside folders are scanned. A change asks for a rescan(), which is the caller's to begin.
    bool recursive() const { return recursive_; }
    void setRecursive(bool recursive);
    /// Something is being dragged over the place where it can be dropped; held for the window alone.
    bool targeted() const { return targeted_; }
    void setTargeted(bool targeted);
    bool scanning() const { return scanning_; }

    /// Neither a run nor a scan goes on. Whatever would change the list does nothing otherwise.
    bool canEditQueue() const { return !busy_ && !scanning_; }

    void chooseFiles();
    void chooseFolder();
    /// Adds files and folders, and rescans. What was removed before comes back when it is named here itself.
    void add(const Paths& paths);
    /// Makes the list anew of the roots, beginning with the next turn of the event loop. A failure empties it and sets
    /// `error`.
    void rescan();
    /// Removes what is selected, for later scans too.
    void removeSelected();
    void clearQueue();
    /// Forgets the last run and the selection.
    void resetQueueStatus();

    // What a run needs to know. It takes all of this along when it starts.

    const std::optional<std::filesystem::path>& output() const { return output_; }
    void setOutput(std::optional<std::filesystem::path> folder);
    void chooseOutput();
    /// Per cent, 1 … 100.
    double quality() const { return quality_; }
    void setQuality(double percent);
    EncodingMode mode() const { return mode_; }
    /// Whether the system can write AVIF, which EncodingMode::system needs.
    bool supported() const { return services_.supported(); }
    void setMode(EncodingMode mode);
    /// 8, 6 or 4: the smaller, the slower and the smaller the files.
    qint64 speed() const { return speed_; }
    void setSpeed(qint64 speed);

    // The run.

    /// Whether start() begins a run. In the worst case it looks at each item.
    bool canStart() const;
    /// Converts the list, beginning with the next turn of the event loop.
    void start();
    bool busy() const { return busy_; }
    /// The user asked to stop: the run ends when the image in hand is done. Remains until the next run.
    bool cancelled() const { return cancelled_; }
    void setCancelled(bool cancelled);
    /// Of this run or the last one: converted and failed items together.
    qint64 completed() const { return completed_; }
    qint64 successes() const { return successes_; }
    qint64 failures() const { return failures_; }
    const std::optional<InputItem>& activeItem() const { return activeItem_; }
    /// A run has ended, and `message` is its summary.
    bool finished() const { return finished_; }
    /// By id, of the items that this or the last run has come to.
    const Statuses& statuses() const { return statuses_; }

    /// What the closing of the window leads to.
    enum class Closing : std::uint8_t {
        now,      ///< nothing is going on
        afterRun, ///< the run stops after the image in hand; the window closes when `busy` falls
        atOnce,   ///< by leaveAtOnce(), since waiting for what goes on would take a while
    };
    /// The user wants to close the window. A first request during a run stops it, a second one does not wait for it; a
    /// scan, which writes nothing, is not waited for.
    Closing requestClose();

    // Texts.

    AppLanguage language() const { return language_; }
    /// Stores the choice, also when it is the present one. Changes of the stored choice are followed, too.
    void setLanguage(AppLanguage language);
    /// `key`, which is Russian, in the present language.
    QString t(const QString& key) const { return language_.text(key); }
    /// Key of the status line while there is no run and no summary, or "queue" for the number of items.
    const QString& messageKey() const { return messageKey_; }
    /// The status line in the present language.
    QString message() const;
    /// To be shown in an alert, which takes it away; null for none.
    const std::exception_ptr& error() const { return error_; }
    void setError(std::exception_ptr error);

Q_SIGNALS:
    void itemsChanged();
    void selectionChanged();
    void rootsChanged();
    void recursiveChanged();
    void targetedChanged();
    void scanningChanged();
    void busyChanged();
    void cancelledChanged();
    void completedChanged();
    void successesChanged();
    void failuresChanged();
    void activeItemChanged();
    void finishedChanged();
    void statusesChanged();
    void messageKeyChanged();
    void errorChanged();
    void outputChanged();
    void qualityChanged();
    void modeChanged();
    void speedChanged();
    void languageChanged();
    void canStartChanged();
    void canEditQueueChanged();
    void messageChanged();

    /// Besides statusesChanged(): the status of this item has changed.
    void statusChanged(const std::string& id);
    /// Besides statusesChanged(): all statuses are gone.
    void statusesCleared();

private:
    class Step;
    using Signal = void (Model::*)();
    using Scanned = ResultOrError<std::vector<InputItem>>;
    using Converted = ResultOrError<ConversionResult>;

    /// All that a run depends on.
    struct Run {
        Items items;
        std::filesystem::path output;
        double quality = 0.0; ///< 0 … 1
        EncodingMode mode = EncodingMode::efficient;
        int speed = 0;
    };

    QCoro::Task<void> gather(Paths roots, bool recursive);
    void applyScan(Scanned scanned);
    void resetQueueStatus(Step& step);

    QCoro::Task<void> convert(Run run);
    /// Applies how the previous item ended, and begins the next or ends the run.
    /// \return whether an item has begun and the model still lives
    bool advance(const Run& run, qsizetype next, const std::optional<Converted>& previous);
    void beginItem(Step& step, const InputItem& item);
    void endItem(Step& step, const InputItem& item, const Converted& converted);
    void endRun(Step& step);

    Services services_;

    Items items_;
    Ids selection_;
    Ids excluded_; ///< normalised paths that the user removed
    Paths roots_;
    bool recursive_ = true;
    bool targeted_ = false;
    bool scanning_ = false;

    bool busy_ = false;
    bool cancelled_ = false;
    bool closing_ = false; ///< the window was asked to close during this run
    qint64 completed_ = 0;
    qint64 successes_ = 0;
    qint64 failures_ = 0;
    std::optional<InputItem> activeItem_;
    bool finished_ = false;
    Statuses statuses_;
    QString messageKey_;
    std::exception_ptr error_;

    std::optional<std::filesystem::path> output_;
    double quality_ = 50;
    EncodingMode mode_ = EncodingMode::efficient;
    qint64 speed_ = 6;
    AppLanguage language_;
};

} // namespace ovrel
