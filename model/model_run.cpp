// The run: one image after the other, until the list ends or the user stops it.

#include "model/checked_counter.h"
#include "model/model.h"
#include "model/model_step.h"
#include "model/path_text.h"

#include <QMetaObject>

#include <qcoro/qcorofuture.h>

#include <limits>
#include <utility>

namespace ovrel {

namespace {

int encoderSpeed(qint64 speed) {
    if (speed < std::numeric_limits<int>::min() || speed > std::numeric_limits<int>::max()) {
        programmingFault("the speed does not fit 32 bits");
    }
    return static_cast<int>(speed);
}

} // namespace

void Model::start() {
    if (!canStart()) {
        return;
    }
    constexpr double percent = 100.0;
    Run run{items_, *output_, quality_ / percent, mode_, encoderSpeed(speed_)};
    // Posted before anybody hears of it, and forgotten if the model ends first.
    QMetaObject::invokeMethod(
        this, [this, run = std::move(run)]() mutable { convert(std::move(run)); }, Qt::QueuedConnection);

    Step step(*this);
    closing_ = false;
    step.set(finished_, false, &Model::finishedChanged);
    step.set(busy_, true, &Model::busyChanged);
    step.set(cancelled_, false, &Model::cancelledChanged);
    step.set(completed_, 0, &Model::completedChanged);
    step.set(successes_, 0, &Model::successesChanged);
    step.set(failures_, 0, &Model::failuresChanged);
    step.clearStatuses();
    step.tell();
}

QCoro::Task<void> Model::convert(Run run) {
    const QPointer<Model> self(this);
    const std::shared_ptr<void> awake = services_.keepAwake(
        language_.choose(QStringLiteral("Преобразование изображений"), QStringLiteral("Converting images")));
    std::optional<Converted> converted;
    for (qsizetype index = 0; self && self->advance(run, index, converted); ++index) {
        QFuture<Converted> future = inBackground(
            [convert = self->services_.convert, item = run.items.at(index), output = run.output, quality = run.quality,
             mode = run.mode, speed = run.speed] { return convert(item, output, quality, mode, speed); });
        converted = co_await future;
    }
}

// Who hears of an image's end may stop the run before the next one begins. No image is in hand in between, so that no
// message tells of an eleventh of ten.
bool Model::advance(const Run& run, qsizetype next, const std::optional<Converted>& previous) {
    if (previous) {
        Step step(*this);
        endItem(step, run.items.at(next - 1), *previous);
        step.set(activeItem_, std::nullopt, &Model::activeItemChanged);
        if (!step.tell()) {
            return false;
        }
    }
    Step step(*this);
    const bool goesOn = next < run.items.size() && !cancelled_;
    if (goesOn) {
        beginItem(step, run.items.at(next));
    } else {
        endRun(step);
    }
    return step.tell() && goesOn;
}

void Model::beginItem(Step& step, const InputItem& item) {
    step.set(activeItem_, item, &Model::activeItemChanged);
    step.setStatus(item.id(), FileStatus::processing(item.isAVIF()));
}

void Model::endItem(Step& step, const InputItem& item, const Converted& converted) {
    step.set(completed_, incremented(completed_), &Model::completedChanged);
    if (const auto* const result = std::get_if<ConversionResult>(&converted)) {
        step.set(successes_, incremented(successes_), &Model::successesChanged);
        step.setStatus(item.id(), FileStatus::success({textOf(result->file.filename()), item.isAVIF(),
                                                       result->multiImage, item.isGIF()}));
    } else {
        step.set(failures_, incremented(failures_), &Model::failuresChanged);
        step.setStatus(item.id(), FileStatus::failure(std::get<std::exception_ptr>(converted)));
    }
}

void Model::endRun(Step& step) {
    step.set(busy_, false, &Model::busyChanged);
    step.set(activeItem_, std::nullopt, &Model::activeItemChanged);
    step.set(finished_, true, &Model::finishedChanged);
}

Model::Closing Model::requestClose() {
    if (canEditQueue()) {
        return Closing::now;
    }
    if (scanning_ || std::exchange(closing_, true)) {
        return Closing::atOnce;
    }
    setCancelled(true);
    return Closing::afterRun;
}

} // namespace ovrel
