/// \file standard_streams.h
/// Standard output and standard error.
#pragma once

#include <cstddef>
#include <string_view>

namespace ovrel::cli {

/// Where text goes. One thread at a time.
class Output {
public:
    virtual ~Output() = default;

    /// Writes all of `text` before it returns.
    /// \return false when that failed, and from then on
    virtual bool write(std::string_view text) = 0;

protected:
    Output() = default;
    Output(const Output&) = default;
    Output& operator=(const Output&) = default;
};

/// An open file descriptor of someone else.
class DescriptorOutput : public Output {
public:
    explicit DescriptorOutput(int descriptor) : descriptor_(descriptor) {}

    bool write(std::string_view text) override;

    /// The value of errno with which writing failed; 0 before.
    int error() const { return error_; }

private:
    int descriptor_;
    int error_ = 0;
};

/// Gives closed standard streams a place that takes nothing, so that no file of a conversion gets their number, and
/// turns a reader's leaving into an error of write(). Called once, before anything is opened.
void prepareStandardStreams();

/// Lets standard output and standard error take all that is written from now on, and show none of it. Any thread.
void silenceStandardStreams();

/// Whether a line can be redrawn there.
bool isTerminal(int descriptor);

/// The present width of a terminal; 80 when it does not tell.
std::size_t terminalColumns(int descriptor);

} // namespace ovrel::cli
