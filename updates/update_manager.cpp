#include "updates/update_manager.h"

#include "updates/update_texts.h"

#include <utility>

namespace ovrel {

UpdateManager::Action::Action(QString buttonTitle, std::function<void()> whenPressed)
    : id(QUuid::createUuid()), title(std::move(buttonTitle)), perform(std::move(whenPressed)) {}

UpdateManager::UpdateManager(Services services, QObject* parent) : QObject(parent), services_(std::move(services)) {}

UpdateManager::~UpdateManager() {
    // Its end may be told to the driver, which is still whole now.
    updater_.reset();
}

void UpdateManager::setPanelFactory(UpdatePanelFactory makePanel) {
    services_.makePanel = std::move(makePanel);
}

void UpdateManager::setProcessing(bool processing) {
    processing_ = processing;
    if (processing_) {
        return;
    }
    if (const std::function<void()> step = std::exchange(pending_, nullptr)) {
        step();
    }
}

void UpdateManager::show(const QString& heading, const QString& detail, bool progress, const QList<Action>& actions) {
    publish(heading_, heading, &UpdateManager::headingChanged);
    publish(detail_, detail, &UpdateManager::detailChanged);
    publish(showsProgress_, progress, &UpdateManager::showsProgressChanged);
    setProgress(std::nullopt);
    setActions(actions);
    if (!panel_ && services_.makePanel) {
        panel_ = services_.makePanel(*this);
    }
    if (panel_) {
        panel_->setTitle(text(update_texts::panelTitle));
        panel_->makeKeyAndOrderFront();
    }
}

void UpdateManager::notice(const QString& heading, const QString& detail, std::function<void()> completion) {
    show(heading, detail, false, {Action(text(update_texts::ok), [this, completion = std::move(completion)] {
             hidePanel();
             completion();
         })});
}

void UpdateManager::defer(std::function<void()> step) {
    pending_ = std::move(step);
}

void UpdateManager::dropPending() {
    // What goes may call back, and has to find that it is gone.
    const std::function<void()> dropped = std::exchange(pending_, nullptr);
}

QString UpdateManager::text(const UpdateText& text) const {
    return text.in(services_.language());
}

void UpdateManager::bringPanelForward() {
    if (panel_) {
        panel_->makeKeyAndOrderFront();
    }
}

void UpdateManager::hidePanel() {
    if (panel_) {
        panel_->orderOut();
    }
    setActions({});
}

} // namespace ovrel
