#include "tests/remote/support/answer.h"

#include <utility>

namespace ovrel::test {

Answer Answer::head(int status, const QByteArray& fields) {
    return Answer().send("HTTP/1.1 " + QByteArray::number(status) + " Phrase\r\n" + fields + "\r\n");
}

Answer Answer::of(int status, const QByteArray& body) {
    return head(status, "Content-Length: " + QByteArray::number(body.size()) + "\r\n").send(body);
}

Answer Answer::redirect(int status, const QByteArray& location) {
    return head(status, "Location: " + location + "\r\nContent-Length: 0\r\n");
}

Answer Answer::send(const QByteArray& bytes) && {
    steps_.emplace_back(Send{bytes});
    return std::move(*this);
}

Answer Answer::wait(std::chrono::milliseconds time) && {
    steps_.emplace_back(Wait{time});
    return std::move(*this);
}

Answer Answer::flood(const QByteArray& bytes) && {
    steps_.emplace_back(Flood{bytes});
    return std::move(*this);
}

Answer Answer::call(std::function<void()> function) && {
    steps_.emplace_back(Call{std::move(function)});
    return std::move(*this);
}

Answer Answer::close() && {
    steps_.emplace_back(Close{});
    return std::move(*this);
}

} // namespace ovrel::test
