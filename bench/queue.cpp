#include "bench/queue.h"

#include "bench/measure.h"
#include "bench/race.h"
#include "bench/table.h"
#include "model/model.h"
#include "model/queue_list_model.h"
#include "updates/update_manager.h"

#include <QCoreApplication>

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace ovrel::bench {

namespace {

constexpr std::size_t fewItems = 10'000;
constexpr std::size_t manyItems = 100'000;
constexpr std::size_t statusChanges = 10'000;

class NoPreferences final : public Preferences {
public:
    std::optional<QString> text(const QString& /*key*/) const override { return std::nullopt; }
    void setText(const QString& /*key*/, const QString& /*text*/) override {}
};

class NoChooser final : public FileChooser {
public:
    void choose(const FileRequest& /*request*/, Reply /*reply*/) override {}
};

std::vector<InputItem> itemsOf(std::size_t count) {
    std::vector<InputItem> items;
    items.reserve(count);
    for (std::size_t number = 0; number < count; ++number) {
        items.push_back({"/home/user/Pictures/" + std::to_string(number) + ".jpg", {}});
    }
    return items;
}

/// A model with a list that has its rows, and nothing that takes time around it.
class Session {
public:
    explicit Session(std::size_t count) : items_(itemsOf(count)) {
        Model::Services services;
        services.chooser = std::make_shared<NoChooser>();
        services.preferences = std::make_shared<NoPreferences>();
        services.updateManager = &updates_;
        services.keepAwake = [](const QString&) { return nullptr; };
        services.scan = [this](std::span<const std::filesystem::path>, bool) { return items_; };
        services.convert = [](const InputItem& item, const std::filesystem::path&, double, EncodingMode, int) {
            return ConversionResult{item.url, false};
        };
        model_ = std::make_unique<Model>(std::move(services));
        rows_ = std::make_unique<QueueListModel>(*model_);
    }

    Model& model() { return *model_; }

    void add() {
        model_->add({"/home/user/Pictures"});
        while (model_->scanning()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    /// Converts the first items, and stops.
    void changeStatuses() {
        model_->setOutput("/out");
        QObject::connect(model_.get(), &Model::completedChanged, [this] {
            if (model_->completed() == static_cast<qint64>(statusChanges)) {
                model_->setCancelled(true);
            }
        });
        model_->start();
        while (model_->busy()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

    void select(std::size_t step) {
        Model::Ids ids;
        for (std::size_t index = 0; index < items_.size(); index += step) {
            ids.insert(items_[index].id());
        }
        model_->setSelection(std::move(ids));
    }

private:
    UpdateManager updates_{{[]() -> QCoro::Task<BannerSettings> { co_return BannerSettings::fromUtf8({}); },
                            [](SPUUserDriver&, SPUUpdaterDelegate&) { return std::unique_ptr<SPUUpdater>(); },
                            [] { return AppLanguage(); },
                            {}}};
    std::vector<InputItem> items_;
    std::unique_ptr<Model> model_;
    std::unique_ptr<QueueListModel> rows_;
};

/// Something done with the list; what comes before start() does not count.
struct Action {
    const char* name;
    int proportion; ///< the ratio that is right
    std::function<void(Session&, const std::function<void()>& start)> run;
};

const std::vector<Action>& actions() {
    static const std::vector<Action> all{
        {"adding", 10,
         [](Session& session, const std::function<void()>& start) {
             start();
             session.add();
         }},
        {"10,000 status changes", 1,
         [](Session& session, const std::function<void()>& start) {
             session.add();
             start();
             session.changeStatuses();
         }},
        {"selecting all", 10,
         [](Session& session, const std::function<void()>& start) {
             session.add();
             start();
             session.select(1);
         }},
        {"10,000 single selections", 1,
         [](Session& session, const std::function<void()>& start) {
             session.add();
             session.select(2);
             session.model().select({"/home/user/Pictures/1.jpg"}, true); // makes room for one more
             start();
             for (std::size_t index = 0; index < statusChanges; ++index) {
                 session.model().select({"/home/user/Pictures/1.jpg"}, index % 2 != 0);
             }
         }},
        {"removing every second one", 10,
         [](Session& session, const std::function<void()>& start) {
             session.add();
             session.select(2);
             start();
             session.model().removeSelected();
         }},
    };
    return all;
}

Measurement perform(const Action& action, std::size_t items) {
    return measure([&](const std::function<void()>& start) {
        int count = 1;
        std::array<char, 6> name{"bench"};
        std::array<char*, 2> arguments{name.data(), nullptr};
        const QCoreApplication application(count, arguments.data());
        // Never taken apart, which would count, because the process ends right after.
        Session& session = *std::make_unique<Session>(items).release();
        action.run(session, start);
    });
}

} // namespace

void compareQueues() {
    for (const Action& action : actions()) {
        std::vector<Contestant> contestants{
            {std::string("100,000 images, ") + action.name, [&] { return perform(action, manyItems); }, {}},
            {"10,000 images", [&] { return perform(action, fewItems); }, {}},
        };
        race(contestants);
        TableRow row = rowOf(contestants[0], contestants[1]);
        row.remark += ", in proportion: " + std::to_string(action.proportion);
        print(row);
    }
}

} // namespace ovrel::bench
