/// \file file_status.h
/// What became of one image in a run.
#pragma once

#include "model/app_language.h"
#include "model/run_texts.h"

#include <QString>

#include <exception>
#include <utility>
#include <variant>

namespace ovrel {

/// A value. An item that a run has not reached has none.
class FileStatus {
public:
    struct Processing {
        bool copying = false; ///< the source is AVIF already
    };
    using Success = WrittenImage;
    struct Failure {
        std::exception_ptr error; ///< not null
    };
    using State = std::variant<Processing, Success, Failure>;

    static FileStatus processing(bool copying) { return FileStatus(Processing{copying}); }
    static FileStatus success(Success outcome) { return FileStatus(std::move(outcome)); }
    static FileStatus failure(std::exception_ptr error) { return FileStatus(Failure{std::move(error)}); }

    const State& state() const { return state_; }
    bool succeeded() const { return std::holds_alternative<Success>(state_); }
    bool failed() const { return std::holds_alternative<Failure>(state_); }

    /// The line that stands beside the item.
    QString text(AppLanguage language) const;

private:
    explicit FileStatus(State state) : state_(std::move(state)) {}

    State state_;
};

} // namespace ovrel
