/// \file model_step.h
/// How the model tells of its changes. For its own files alone.
#pragma once

#include "model/model.h"

#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ovrel {

/// Collects what one step changes, and tells of it when the step is complete: nobody sees half of one.
class Model::Step {
public:
    explicit Step(Model& model) : model_(&model) {}

    /// Sets a property whose values are cheap to compare.
    template <typename Value>
    void set(Value& property, std::type_identity_t<Value> value, Signal changed) {
        if (property != value) {
            property = std::move(value);
            note(changed);
        }
    }

    /// The property of this signal has been changed.
    void note(Signal changed);

    void setStatus(const std::string& id, FileStatus status);
    void clearStatuses();

    /// Lets the update manager know what it has to, then emits the signals, those of single items first. To be called
    /// once, at the end.
    /// \return false when a listener has ended the model
    bool tell();

private:
    bool hasChanged(std::initializer_list<Signal> signals) const;
    bool emitAll(const std::vector<Signal>& signals);
    bool emitStatuses();

    QPointer<Model> model_;
    std::vector<Signal> changed_;
    std::vector<std::string> changedStatuses_;
    bool clearedStatuses_ = false;
};

} // namespace ovrel
