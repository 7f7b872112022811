// Drives the model over files and folders and prints what a window would show, in both languages. For trying things
// out, and for tests of how a program with a model ends.

#include "model/leave_at_once.h"
#include "model/model.h"
#include "model/path_text.h"
#include "platform/temporary_file.h"
#include "updates/update_manager.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

namespace {

using ovrel::AppLanguage;
using ovrel::Model;

/// A language that is remembered nowhere.
class NoPreferences final : public ovrel::Preferences {
public:
    std::optional<QString> text(const QString& /*key*/) const override { return std::nullopt; }
    void setText(const QString& /*key*/, const QString& /*text*/) override {}
};

class NoChooser final : public ovrel::FileChooser {
public:
    void choose(const ovrel::FileRequest& /*request*/, Reply /*reply*/) override {}
};

ovrel::UpdateManager::Services noUpdates() {
    ovrel::UpdateManager::Services services;
    services.loadSettings = []() -> QCoro::Task<ovrel::BannerSettings> {
        co_return ovrel::BannerSettings::fromUtf8({});
    };
    services.makeUpdater = [](ovrel::SPUUserDriver&, ovrel::SPUUpdaterDelegate&) {
        return std::unique_ptr<ovrel::SPUUpdater>();
    };
    services.language = [] { return AppLanguage(); };
    return services;
}

/// Prints at once, since the program may end without further ado.
void print(const QString& line) {
    QTextStream(stdout) << line << Qt::endl;
}

void printMessage(Model& model) {
    for (const AppLanguage language : AppLanguage::allCases) {
        model.setLanguage(language);
        print(language.rawValue() + QStringLiteral(": ") + model.message());
    }
}

void printStatus(const Model& model, const ovrel::InputItem& item) {
    const ovrel::FileStatus& status = model.statuses().at(item.id());
    print(ovrel::textOf(item.url) + QStringLiteral(": ") + status.text(AppLanguage::english) + QStringLiteral(" | ") +
          status.text(AppLanguage::russian));
}

/// Has written a part of its hidden file, and never gets any further.
ovrel::ConversionResult stall(const std::filesystem::path& output, const std::function<void()>& whenStalled) {
    const ovrel::TemporaryFile file(output);
    std::ofstream(file.path()) << "a part";
    whenStalled();
    std::this_thread::sleep_for(std::chrono::hours(1));
    return {};
}

/// What happens in the middle of the run, and at which image; 0 for never.
struct Plan {
    qint64 closeAt = 0; ///< the window is closed
    qint64 leaveAt = 0; ///< it is closed twice while the image's hidden file is there
    qint64 endAt = 0;   ///< the model ends, and the program after it
};

class Session : public QObject {
public:
    Session(Model::Services services, const Plan& plan) : plan_(plan) {
        services.convert = [this](const ovrel::InputItem& item, const std::filesystem::path& output, double quality,
                                  ovrel::EncodingMode mode, int speed) {
            if (++conversions_ == plan_.leaveAt) {
                return stall(output, [this] { QMetaObject::invokeMethod(this, [this] { closeTwice(); }); });
            }
            return ovrel::Converter::convert(item, output, quality, mode, speed);
        };
        model_ = std::make_unique<Model>(std::move(services));
        connect(model_.get(), &Model::scanningChanged, this, [this] { begin(); });
        connect(model_.get(), &Model::activeItemChanged, this, [this] { interfere(); });
        connect(model_.get(), &Model::statusChanged, this, [this](const std::string& id) { report(id); });
        connect(model_.get(), &Model::finishedChanged, this, [this] { end(); });
    }

    Model& model() { return *model_; }

private:
    void begin() {
        if (model_->scanning()) {
            return;
        }
        printMessage(*model_);
        model_->start();
        if (!model_->busy()) {
            QMetaObject::invokeMethod(
                this, [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
        }
    }

    void interfere() {
        const qint64 number = model_->activeItem() ? model_->completed() + 1 : 0;
        if (number > 0 && number == plan_.closeAt) {
            model_->requestClose();
        }
        if (number > 0 && number == plan_.endAt) {
            const auto endModel = [this] {
                model_.reset();
                QCoreApplication::quit();
            };
            QMetaObject::invokeMethod(this, endModel, Qt::QueuedConnection);
        }
    }

    void closeTwice() {
        model_->requestClose();
        if (model_->requestClose() == Model::Closing::atOnce) {
            ovrel::leaveAtOnce();
        }
    }

    void report(const std::string& id) {
        const ovrel::FileStatus& status = model_->statuses().at(id);
        if (status.succeeded() || status.failed()) {
            printStatus(*model_, model_->items().at(model_->completed() - 1));
        }
    }

    void end() {
        if (model_->finished()) {
            printMessage(*model_);
            QCoreApplication::quit();
        }
    }

    Plan plan_;
    std::atomic<qint64> conversions_ = 0; ///< that have begun
    std::unique_ptr<Model> model_;
};

} // namespace

int main(int count, char** arguments) {
    const QCoreApplication application(count, arguments);
    const auto option = [](const char* name, const char* text, const char* value) {
        return QCommandLineOption(QString::fromLatin1(name), QString::fromLatin1(text), QString::fromLatin1(value));
    };
    const QCommandLineOption output = option("output", "where results go", "folder");
    const QCommandLineOption closeAt = option("close-at", "close the window at this image", "number");
    const QCommandLineOption leaveAt = option("leave-at", "close it twice at this image, which never ends", "number");
    const QCommandLineOption endAt = option("end-at", "end the model at this image", "number");
    QCommandLineParser parser;
    parser.addOptions({output, closeAt, leaveAt, endAt});
    parser.addPositionalArgument(QStringLiteral("path"), QStringLiteral("files and folders"), QStringLiteral("path…"));
    parser.addHelpOption();
    parser.process(application);

    ovrel::UpdateManager updates(noUpdates());
    Model::Services services;
    services.chooser = std::make_shared<NoChooser>();
    services.preferences = std::make_shared<NoPreferences>();
    services.updateManager = &updates;
    services.keepAwake = ovrel::desktopSleepInhibitor();
    Session session(std::move(services), {parser.value(closeAt).toLongLong(), parser.value(leaveAt).toLongLong(),
                                          parser.value(endAt).toLongLong()});
    session.model().setOutput(ovrel::pathOf(parser.value(output)));
    Model::Paths paths;
    for (const QString& path : parser.positionalArguments()) {
        paths.push_back(ovrel::pathOf(path));
    }
    session.model().add(paths);
    return QCoreApplication::exec();
}
