#include "model/model_step.h"

#include "updates/update_manager.h"

#include <algorithm>

namespace ovrel {

void Model::Step::note(Signal changed) {
    if (std::find(changed_.begin(), changed_.end(), changed) == changed_.end()) {
        changed_.push_back(changed);
    }
}

void Model::Step::setStatus(const std::string& id, FileStatus status) {
    model_->statuses_.insert_or_assign(id, std::move(status));
    changedStatuses_.push_back(id);
    note(&Model::statusesChanged);
}

void Model::Step::clearStatuses() {
    if (!model_->statuses_.empty()) {
        model_->statuses_.clear();
        clearedStatuses_ = true;
        note(&Model::statusesChanged);
    }
}

bool Model::Step::tell() {
    std::vector<Signal> derived;
    if (hasChanged({&Model::itemsChanged, &Model::outputChanged, &Model::busyChanged, &Model::scanningChanged,
                    &Model::modeChanged})) {
        derived.push_back(&Model::canStartChanged);
    }
    if (hasChanged({&Model::busyChanged, &Model::scanningChanged})) {
        derived.push_back(&Model::canEditQueueChanged);
        // What the manager has put off it does in here, and it may see the step complete.
        model_->services_.updateManager->setProcessing(!model_->canEditQueue());
    }
    if (hasChanged({&Model::itemsChanged, &Model::busyChanged, &Model::cancelledChanged, &Model::completedChanged,
                    &Model::successesChanged, &Model::failuresChanged, &Model::activeItemChanged,
                    &Model::finishedChanged, &Model::messageKeyChanged, &Model::languageChanged})) {
        derived.push_back(&Model::messageChanged);
    }
    return emitStatuses() && emitAll(changed_) && emitAll(derived);
}

bool Model::Step::hasChanged(std::initializer_list<Signal> signals) const {
    return std::any_of(signals.begin(), signals.end(), [this](Signal signal) {
        return std::find(changed_.begin(), changed_.end(), signal) != changed_.end();
    });
}

bool Model::Step::emitAll(const std::vector<Signal>& signals) {
    for (const Signal signal : signals) {
        if (!model_) {
            return false;
        }
        Q_EMIT (*model_.*signal)();
    }
    return !model_.isNull();
}

bool Model::Step::emitStatuses() {
    if (model_ && clearedStatuses_) {
        Q_EMIT model_->statusesCleared();
    }
    for (const std::string& id : changedStatuses_) {
        if (!model_) {
            return false;
        }
        Q_EMIT model_->statusChanged(id);
    }
    return !model_.isNull();
}

} // namespace ovrel
