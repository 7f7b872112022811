/// \file answer.h
/// What a server of a test does when it is asked for something.
#pragma once

#include <QByteArray>

#include <chrono>
#include <functional>
#include <variant>
#include <vector>

namespace ovrel::test {

/// Steps that follow each other. After the last one the server waits for the next request of that connection.
class Answer {
public:
    struct Send {
        QByteArray bytes;
    };
    struct Wait {
        std::chrono::milliseconds time;
    };
    struct Flood { ///< as fast as they are taken, until the client goes
        QByteArray bytes;
    };
    struct Call {
        std::function<void()> function;
    };
    struct Close {};
    using Step = std::variant<Send, Wait, Flood, Call, Close>;

    /// A whole answer with its length.
    static Answer of(int status, const QByteArray& body = {});
    /// A head without any fields but these, each of which ends with CR LF.
    static Answer head(int status, const QByteArray& fields = {});
    /// RFC 9110, section 15.4, without a body.
    static Answer redirect(int status, const QByteArray& location);

    Answer send(const QByteArray& bytes) &&;
    Answer wait(std::chrono::milliseconds time) &&;
    Answer flood(const QByteArray& bytes) &&;
    Answer call(std::function<void()> function) &&;
    Answer close() &&;

    const std::vector<Step>& steps() const { return steps_; }

private:
    std::vector<Step> steps_;
};

} // namespace ovrel::test
