#include "remote/banner_error.h"
#include "remote/remote_settings.h"
#include "remote/transport_error.h"
#include "tests/remote/held_fetch.h"

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ovrel::test {

namespace {

/// What one caller has got so far: nothing, the version of settings, or a word for an error.
struct Caller {
    std::optional<std::string> outcome;
    std::function<void()> whenDone = [] {};
};

QCoro::Task<void> call(RemoteSettings& settings, std::shared_ptr<Caller> caller) {
    std::string outcome;
    try {
        const BannerSettings got = co_await settings.fetch();
        outcome = "version " + got.version().toStdString() + " of " + std::to_string(got.values().size()) + " pairs";
    } catch (const BannerError& error) {
        outcome = error.what();
    } catch (const TransportError& error) {
        outcome = error.what();
    }
    caller->outcome = outcome;
    caller->whenDone();
}

std::shared_ptr<Caller> begin(RemoteSettings& settings) {
    auto caller = std::make_shared<Caller>();
    call(settings, caller);
    return caller;
}

std::exception_ptr transportError(QNetworkReply::NetworkError error) {
    return std::make_exception_ptr(TransportError(error));
}

const QByteArray text = "enabled=true\nversion=7";
constexpr const char* gotText = "version 7 of 2 pairs";
const std::string cancelled = TransportError(QNetworkReply::OperationCanceledError).what();
const std::string notFound = TransportError(QNetworkReply::HostNotFoundError).what();

} // namespace

TEST(RemoteSettings, AreDownloadedFromThePublishersFolder) {
    HeldFetch network;
    RemoteSettings settings(network.function());
    const std::shared_ptr<Caller> caller = begin(settings);
    ASSERT_EQ(network.count(), 1U);
    EXPECT_EQ(network.address(0), BannerSettings::address());
    EXPECT_EQ(network.limitBytes(0), 16384);
    EXPECT_EQ(caller->outcome, std::nullopt);
    network.answer(0, text);
    EXPECT_EQ(caller->outcome, gotText);
}

TEST(RemoteSettings, AreDownloadedOnceForAHundredCallers) {
    HeldFetch network;
    RemoteSettings settings(network.function());
    std::vector<std::shared_ptr<Caller>> callers;
    for (int count = 0; count < 100; ++count) {
        callers.push_back(begin(settings));
    }
    EXPECT_EQ(network.count(), 1U);
    network.answer(0, text);
    for (const std::shared_ptr<Caller>& caller : callers) {
        EXPECT_EQ(caller->outcome, gotText);
    }
    EXPECT_EQ(network.count(), 1U);
}

TEST(RemoteSettings, ShareAFailure) {
    struct Row {
        const char* what;
        std::function<void(HeldFetch&)> end;
        std::string outcome;
    };
    const Row rows[] = {
        {"no network", [](HeldFetch& network) { network.fail(0, transportError(QNetworkReply::HostNotFoundError)); },
         notFound},
        {"an answer of another status",
         [](HeldFetch& network) { network.fail(0, std::make_exception_ptr(BannerError(BannerError::response))); },
         BannerError(BannerError::response).what()},
        {"too long a file",
         [](HeldFetch& network) { network.fail(0, std::make_exception_ptr(BannerError(BannerError::tooLarge))); },
         BannerError(BannerError::tooLarge).what()},
        {"bytes that are not UTF-8", [](HeldFetch& network) { network.answer(0, "enabled=true\n#\xFF"); },
         BannerError(BannerError::invalid).what()},
        {"a malformed file", [](HeldFetch& network) { network.answer(0, "words"); },
         BannerError(BannerError::invalid).what()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        HeldFetch network;
        RemoteSettings settings(network.function());
        std::vector<std::shared_ptr<Caller>> callers;
        for (int count = 0; count < 100; ++count) {
            callers.push_back(begin(settings));
        }
        row.end(network);
        for (const std::shared_ptr<Caller>& caller : callers) {
            EXPECT_EQ(caller->outcome, row.outcome);
        }
        EXPECT_EQ(network.count(), 1U);
    }
}

TEST(RemoteSettings, AreDownloadedAnewAfterwards) {
    HeldFetch network;
    RemoteSettings settings(network.function());
    const std::shared_ptr<Caller> first = begin(settings);
    network.answer(0, text);
    const std::shared_ptr<Caller> second = begin(settings);
    EXPECT_EQ(network.count(), 2U);
    network.fail(1, transportError(QNetworkReply::HostNotFoundError));
    const std::shared_ptr<Caller> third = begin(settings);
    EXPECT_EQ(network.count(), 3U);
    network.answer(2, "enabled=true\nversion=8");
    EXPECT_EQ(first->outcome, gotText);
    EXPECT_EQ(second->outcome, notFound);
    EXPECT_EQ(third->outcome, "version 8 of 2 pairs");
}

TEST(RemoteSettings, AreDownloadedAnewForACallerThatAsksAgainAtOnce) {
    HeldFetch network;
    RemoteSettings settings(network.function());
    const std::shared_ptr<Caller> first = begin(settings);
    const std::shared_ptr<Caller> second = begin(settings);
    std::shared_ptr<Caller> again;
    first->whenDone = [&] { again = begin(settings); };
    network.answer(0, text);
    EXPECT_EQ(network.count(), 2U);
    EXPECT_EQ(second->outcome, gotText);
    EXPECT_EQ(again->outcome, std::nullopt);
    network.answer(1, "enabled=true");
    EXPECT_EQ(again->outcome, "version 1 of 1 pairs");
}

TEST(RemoteSettings, GoOnForTheOthersWhenACallerGoesAway) {
    HeldFetch network;
    RemoteSettings settings(network.function());
    settings.fetch(); // whoever asked here has dropped the task already
    const std::shared_ptr<Caller> stays = begin(settings);
    settings.fetch();
    EXPECT_FALSE(network.isStopped(0));
    EXPECT_EQ(stays->outcome, std::nullopt);
    network.answer(0, text);
    EXPECT_EQ(stays->outcome, gotText);
    EXPECT_EQ(network.count(), 1U);
}

TEST(RemoteSettings, AnswerAtOnceWhenTheNetworkDoes) {
    int requests = 0;
    RemoteSettings settings([&requests](QUrl, qint64, std::stop_token) -> QCoro::Task<QByteArray> {
        ++requests;
        co_return text;
    });
    EXPECT_EQ(begin(settings)->outcome, gotText);
    EXPECT_EQ(begin(settings)->outcome, gotText);
    EXPECT_EQ(requests, 2);
}

TEST(RemoteSettings, EndTheirDownloadWhenTheyEnd) {
    for (const WhenStopped whenStopped : {WhenStopped::fails, WhenStopped::waits}) {
        HeldFetch network(whenStopped);
        auto settings = std::make_unique<RemoteSettings>(network.function());
        const std::shared_ptr<Caller> first = begin(*settings);
        const std::shared_ptr<Caller> second = begin(*settings);
        settings.reset();
        EXPECT_TRUE(network.isStopped(0));
        EXPECT_EQ(first->outcome, cancelled);
        EXPECT_EQ(second->outcome, cancelled);
        network.answer(0, text);
        EXPECT_EQ(first->outcome, cancelled);
        EXPECT_EQ(network.count(), 1U);
    }
}

TEST(RemoteSettings, MayBeEndedByTheFirstCallerThatGoesOn) {
    HeldFetch network;
    auto settings = std::make_unique<RemoteSettings>(network.function());
    const std::shared_ptr<Caller> first = begin(*settings);
    const std::shared_ptr<Caller> second = begin(*settings);
    first->whenDone = [&] { settings.reset(); };
    network.answer(0, text);
    EXPECT_EQ(first->outcome, gotText);
    EXPECT_EQ(second->outcome, gotText);
}

TEST(RemoteSettings, AreOneForTheWholeProgram) {
    EXPECT_EQ(&RemoteSettings::shared(), &RemoteSettings::shared());
}

} // namespace ovrel::test
