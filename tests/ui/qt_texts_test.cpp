#include "tests/support/temporary_folder.h"
#include "tests/ui/controls.h"
#include "tests/ui/window_fixture.h"
#include "ui/qt_texts.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QFile>

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

/// How messages are found in a file of translations.
quint32 hashOf(const QByteArray& text) {
    quint32 hash = 0;
    for (const char character : text) {
        hash = (hash << 4U) + static_cast<unsigned char>(character);
        const quint32 top = hash & 0xF0000000U;
        hash = (hash ^ (top >> 24U)) & ~top;
    }
    return hash;
}

/// A file of translations as Qt's own tools write it, with one message.
void writeTranslation(const QString& file, const QByteArray& context, const QByteArray& source, const QString& text) {
    enum Tag : quint8 { end = 1, translation = 3, sourceText = 6, contextText = 7, hashes = 0x42, messages = 0x69 };
    QByteArray message;
    QDataStream(&message, QIODevice::WriteOnly)
        << quint8(translation) << text << quint8(sourceText) << source << quint8(contextText) << context << quint8(end);
    QByteArray index;
    QDataStream(&index, QIODevice::WriteOnly) << hashOf(source) << quint32(0);

    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(QByteArray::fromHex("3cb86418caef9c95cd211cbf60a1bddd"));
    QDataStream(&out) << quint8(hashes) << index << quint8(messages) << message;
}

class QtTextsTest : public testing::Test {
protected:
    void translate(const char* context, const char* source, const QString& text) {
        writeTranslation(path() + QStringLiteral("/qtbase_ru.qm"), context, source, text);
    }
    QString path() const { return QString::fromStdString(folder.path().string()); }

    TemporaryFolder folder;
    WindowFixture fixture;
};

TEST_F(QtTextsTest, FollowTheLanguageOfTheInterface) {
    // A text that Qt has not, since the window has the translations of this system, where there are any.
    translate("QtTextsTest", "Look in:", QStringLiteral("Где искать:"));
    const auto shown = [] { return QCoreApplication::translate("QtTextsTest", "Look in:"); };
    {
        const QtTexts texts(fixture.model(), path());
        EXPECT_EQ(shown(), QStringLiteral("Look in:"));
        fixture.model().setLanguage(AppLanguage::russian);
        EXPECT_EQ(shown(), QStringLiteral("Где искать:"));
        fixture.model().setLanguage(AppLanguage::english);
        EXPECT_EQ(shown(), QStringLiteral("Look in:"));
        fixture.model().setLanguage(AppLanguage::russian);
    }
    EXPECT_EQ(shown(), QStringLiteral("Look in:"));
}

TEST_F(QtTextsTest, LeaveTheButtonOfTheAlertAlone) {
    translate("QPlatformTheme", "OK", QStringLiteral("Понятно"));
    const QtTexts texts(fixture.model(), path());
    fixture.show();
    fixture.model().setError(std::make_exception_ptr(std::bad_alloc()));
    for (const AppLanguage language : {AppLanguage::russian, AppLanguage::english, AppLanguage::russian}) {
        fixture.model().setLanguage(language);
        settle();
        EXPECT_NE(findControl<QAbstractButton>(fixture.window(), QStringLiteral("OK")), nullptr);
    }
    fixture.model().setError(nullptr);
}

} // namespace

} // namespace ovrel::test
