// The status line.

#include "model/checked_counter.h"
#include "model/model.h"
#include "model/path_text.h"
#include "model/run_texts.h"

namespace ovrel {

QString Model::message() const {
    if (busy_ && activeItem_) {
        return activityText(language_, activeItem_->isAVIF(), incremented(completed_), items_.size()) +
               textOf(activeItem_->url.filename());
    }
    if (!finished_) {
        return messageKey_ == QStringLiteral("queue")
                   ? language_.choose(QStringLiteral("В очереди: "), QStringLiteral("Files queued: ")) +
                         QString::number(items_.size())
                   : t(messageKey_);
    }
    const QString summary = summaryText(language_, cancelled_, successes_, failures_);
    return cancelled_ ? summary + QStringLiteral(", ") + remainingText(language_, difference(items_.size(), completed_))
                      : summary;
}

} // namespace ovrel
