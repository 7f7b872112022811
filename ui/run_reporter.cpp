#include "ui/run_reporter.h"

#include "model/model.h"

#include <QEvent>
#include <QWidget>

namespace ovrel {

RunReporter::RunReporter(const Model& model, QWidget& window, const QString& applicationId, const QDBusConnection& bus,
                         QObject* parent)
    : QObject(parent), model_(model), window_(window), taskbar_(applicationId, bus), notifier_(applicationId, bus) {
    connect(&model_, &Model::busyChanged, this, &RunReporter::takeProgress);
    connect(&model_, &Model::completedChanged, this, &RunReporter::takeProgress);
    connect(&model_, &Model::finishedChanged, this, &RunReporter::takeEnd);
    connect(&notifier_, &Notifier::activated, this, &RunReporter::activated);
    window_.installEventFilter(this);
}

bool RunReporter::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        notifier_.withdraw(); // the window says it now
    }
    return QObject::eventFilter(watched, event);
}

void RunReporter::takeProgress() {
    if (model_.busy() && !model_.items().isEmpty()) {
        taskbar_.show(static_cast<double>(model_.completed()) / static_cast<double>(model_.items().size()));
    } else {
        taskbar_.clear();
    }
}

void RunReporter::takeEnd() {
    if (model_.finished() && !window_.isActiveWindow()) {
        notifier_.show(QStringLiteral("Ovrel"), model_.message());
    } else {
        notifier_.withdraw();
    }
}

} // namespace ovrel
