// Runs over real files.

#include "model/background.h"
#include "tests/model/model_fixture.h"
#include "tests/support/avif_writer.h"
#include "tests/support/gif_writer.h"
#include "tests/support/jpeg_writer.h"
#include "tests/support/pictures.h"
#include "tests/support/png_writer.h"
#include "tests/support/private_mounts.h"
#include "tests/support/skip_outside_ci.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unprivileged.h"
#include "tests/support/webp_writer.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace ovrel::test {

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

std::string png(std::uint32_t width = 9, std::uint32_t height = 7) {
    return writePng(pngOf(smooth(width, height)));
}

std::string gif(std::size_t frames) {
    GifContent content{.width = 4, .height = 4, .palette = {{255, 0, 0}, {0, 0, 255}}, .loop = {}, .frames = {}};
    for (std::size_t frame = 0; frame < frames; ++frame) {
        GifFrameBlock block;
        block.width = 4;
        block.height = 4;
        block.pixels.assign(16, static_cast<std::uint8_t>(frame % 2));
        content.frames.push_back(block);
    }
    return writeGif(content);
}

std::string animatedWebp() {
    WebpAnimation animation;
    animation.width = 4;
    animation.height = 4;
    for (int frame = 0; frame < 2; ++frame) {
        WebpFrameBlock block;
        block.still = writeWebp(smooth(4, 4));
        animation.frames.push_back(block);
    }
    return writeWebpAnimation(animation);
}

/// A model that scans and converts real files.
struct Session {
    ModelFixture fixture;
    TemporaryFolder folder;

    Session() {
        fixture.services.scan = Converter::scan;
        fixture.services.convert = Converter::convert;
    }
    Model& model() { return fixture.model(); }

    void add(const Model::Paths& paths) {
        model().add(paths);
        fixture.awaitIdle();
    }
    void run(const fs::path& output) {
        model().setSpeed(8);
        model().setOutput(output);
        model().start();
        ASSERT_TRUE(model().busy());
        fixture.awaitIdle();
    }
    std::string status(const fs::path& file, AppLanguage language = AppLanguage::english) {
        const auto found = model().statuses().find(file.native());
        return found == model().statuses().end() ? "" : found->second.text(language).toStdString();
    }
};

/// Names that begin with a dot.
std::vector<std::string> hiddenIn(const fs::path& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().filename().native().front() == '.') {
            names.push_back(entry.path().native());
        }
    }
    return names;
}

TEST(ModelFiles, ConvertsATreeWithWhateverIsInIt) {
    Session session;
    const fs::path photo = session.folder.write("in/photo.jpg", writeJpeg(smooth(12, 8)));
    const fs::path broken = session.folder.write("in/broken.png", png().substr(0, 60));
    const fs::path done = session.folder.write("in/sub/done.avif", writeAvif(smooth(8, 8)));
    const fs::path moving = session.folder.write("in/sub/moving.gif", gif(3));
    const fs::path still = session.folder.write("in/sub/still.gif", gif(1));
    const fs::path webp = session.folder.write("in/sub/inner/moving.webp", animatedWebp());
    session.folder.write("in/notes.txt", "no image");
    session.folder.write("in/.hidden.png", png());

    session.add({session.folder / "in"});
    EXPECT_EQ(session.fixture.message(), "Files queued: 6");
    session.run(session.folder / "out");

    EXPECT_EQ(session.status(photo), "✓ photo.avif");
    EXPECT_THAT(session.status(broken), testing::StartsWith("Error: "));
    EXPECT_THAT(session.status(broken, AppLanguage::russian), testing::StartsWith("Ошибка: "));
    EXPECT_EQ(session.status(done), "✓ done.avif · copied");
    EXPECT_EQ(session.status(moving), "✓ moving.avif · animated");
    EXPECT_EQ(session.status(moving, AppLanguage::russian), "✓ moving.avif · анимация");
    EXPECT_EQ(session.status(still), "✓ still.avif");
    EXPECT_EQ(session.status(webp), "✓ moving.avif · first frame only");
    EXPECT_EQ(session.fixture.message(), "Done: 5 successful, 1 failed");
    EXPECT_EQ(contentOf(session.folder / "out/sub/done.avif"), contentOf(done));
    for (const char* result :
         {"out/photo.avif", "out/sub/moving.avif", "out/sub/still.avif", "out/sub/inner/moving.avif"}) {
        EXPECT_TRUE(fs::exists(session.folder / result)) << result;
    }
    EXPECT_THAT(hiddenIn(session.folder / "out"), IsEmpty());

    // Once more, under the next free names.
    session.run(session.folder / "out");
    EXPECT_EQ(session.status(photo), "✓ photo-2.avif");
    EXPECT_EQ(session.fixture.message(), "Done: 5 successful, 1 failed");
}

TEST(ModelFiles, WordsAFolderThatCannotBeWritten) {
    TemporaryFolder folder;
    ASSERT_EQ(::chmod(folder.path().c_str(), 0755), 0);
    const fs::path copied = folder.write("in/a.avif", writeAvif(smooth(8, 8)));
    const fs::path encoded = folder.write("in/b.png", png());
    fs::create_directory(folder / "out");
    ASSERT_EQ(::chmod((folder / "out").c_str(), 0555), 0);
    // Threads have the rights of the one that starts them, so the pool's must be started afresh.
    backgroundThreads().waitForDone();
    const bool hasRun = runUnprivileged([&] {
        Session unprivileged;
        unprivileged.add({folder / "in"});
        unprivileged.run(folder / "out");
        EXPECT_EQ(unprivileged.status(copied),
                  "Error: Access to the file or folder was denied. Check its permissions.");
        EXPECT_EQ(unprivileged.status(copied, AppLanguage::russian),
                  "Ошибка: Нет доступа к файлу или папке. Проверьте разрешения.");
        EXPECT_EQ(unprivileged.status(encoded), "Error: AVIF error: Cannot create output file");
        EXPECT_EQ(unprivileged.fixture.message(), "Done: 0 successful, 2 failed");
    });
    backgroundThreads().waitForDone();
    EXPECT_TRUE(hasRun);
    EXPECT_THAT(folder.listing(), ElementsAre("in", "in/a.avif", "in/b.png", "out"));
}

TEST(ModelFiles, FailsEachItemWhenTheOutputFolderIsAFile) {
    Session session;
    const fs::path source = session.folder.write("in/a.png", png());
    session.folder.write("out", "a file");
    session.add({source});
    session.run(session.folder / "out");
    EXPECT_THAT(session.status(source), testing::StartsWith("Error: "));
    EXPECT_EQ(contentOf(session.folder / "out"), "a file");
}

TEST(ModelFiles, GoesOnWhenTheOutputFolderVanishesInTheMiddle) {
    Session session;
    const fs::path first = session.folder.write("in/1.png", png());
    const fs::path second = session.folder.write("in/2.png", png());
    session.add({session.folder / "in"});
    QObject::connect(&session.model(), &Model::completedChanged, [&] {
        if (session.model().completed() == 1) {
            fs::rename(session.folder / "out", session.folder / "gone");
        }
    });
    session.run(session.folder / "out");
    EXPECT_EQ(session.fixture.message(), "Done: 2 successful, 0 failed");
    EXPECT_THAT(session.folder.listing(),
                ElementsAre("gone", "gone/1.avif", "in", "in/1.png", "in/2.png", "out", "out/2.avif"));
}

TEST(ModelFiles, FailsTheRestWhenTheOutputFolderVanishesForGood) {
    Session session;
    const fs::path first = session.folder.write("in/1.png", png());
    const fs::path second = session.folder.write("in/2.png", png());
    const fs::path third = session.folder.write("in/3.png", png());
    session.add({session.folder / "in"});
    QObject::connect(&session.model(), &Model::completedChanged, [&] {
        if (session.model().completed() == 1) {
            fs::rename(session.folder / "disk", session.folder / "gone");
            session.folder.write("disk", "what stands in its place");
        }
    });
    fs::create_directories(session.folder / "disk/out");
    session.run(session.folder / "disk/out");
    EXPECT_EQ(session.status(first), "✓ 1.avif");
    EXPECT_THAT(session.status(second), testing::StartsWith("Error: "));
    EXPECT_EQ(session.fixture.message(), "Done: 1 successful, 2 failed");
}

TEST(ModelFiles, WordsASourceThatVanished) {
    Session session;
    const fs::path source = session.folder.write("in/a.avif", writeAvif(smooth(8, 8)));
    session.add({source});
    fs::remove(source);
    session.run(session.folder / "out");
    EXPECT_EQ(session.status(source), "Error: The file or folder no longer exists.");
}

TEST(ModelFiles, WordsAFullDiskAndLeavesNothingHidden) {
    TemporaryFolder folder;
    const fs::path small = folder.write("in/1.avif", std::string(1000, 'a'));
    const fs::path large = folder.write("in/2.avif", std::string(200'000, 'b'));
    const fs::path last = folder.write("in/3.avif", std::string(2000, 'c'));
    fs::create_directory(folder / "out");
    // Threads see what the one that starts them sees, so the pool's must be started afresh.
    backgroundThreads().waitForDone();
    const bool hasRun = runWithOwnMounts([&] {
        mountMemory(folder / "out", "size=64k");
        Session session;
        session.add({folder / "in"});
        session.run(folder / "out");
        EXPECT_EQ(session.status(small), "✓ 1.avif · copied");
        EXPECT_EQ(session.status(large), "Error: There is not enough free disk space.");
        EXPECT_EQ(session.status(large, AppLanguage::russian), "Ошибка: Недостаточно свободного места на диске.");
        EXPECT_EQ(session.status(last), "✓ 3.avif · copied");
        EXPECT_EQ(session.fixture.message(), "Done: 2 successful, 1 failed");
        EXPECT_THAT(hiddenIn(folder / "out"), IsEmpty());
    });
    backgroundThreads().waitForDone();
    if (!hasRun) {
        OVREL_SKIP_OUTSIDE_CI("this machine does not let us mount");
    }
}

TEST(ModelFiles, DoesNotPickUpItsOwnResultsDuringARun) {
    Session session;
    session.folder.write("in/a.png", png());
    session.folder.write("in/b.png", png());
    session.add({session.folder / "in"});
    session.run(session.folder / "in/results");
    EXPECT_EQ(session.fixture.message(), "Done: 2 successful, 0 failed");
    EXPECT_THAT(session.fixture.listed(), ElementsAre("a.png", "b.png"));
    session.model().rescan();
    session.fixture.awaitIdle();
    EXPECT_THAT(session.fixture.listed(), ElementsAre("a.png", "b.png", "a.avif", "b.avif"));
}

TEST(ModelFiles, WritesNextToItsSourcesWithoutTouchingThem) {
    Session session;
    const fs::path source = session.folder.write("in/a.avif", writeAvif(smooth(8, 8)));
    const std::string before = contentOf(source);
    session.add({session.folder / "in"});
    session.run(session.folder / "in");
    EXPECT_EQ(session.status(source), "✓ a-2.avif · copied");
    EXPECT_EQ(contentOf(source), before);
}

TEST(ModelFiles, MirrorsFoldersBelowEachRoot) {
    Session session;
    session.folder.write("in/a.png", png());
    session.folder.write("in/sub/b.png", png());
    session.add({session.folder / "in", session.folder / "in/sub", session.folder / "in"});
    session.run(session.folder / "out");
    EXPECT_TRUE(fs::exists(session.folder / "out/a.avif"));
    EXPECT_TRUE(fs::exists(session.folder / "out/sub/b.avif"));
    EXPECT_EQ(session.fixture.message(), "Done: 2 successful, 0 failed");
}

TEST(ModelFiles, ShowsNamesThatAreNoTextAndFindsThem) {
    Session session;
    const fs::path odd = session.folder.write("in/\xFF.png", png());
    session.add({session.folder / "in"});
    session.run(session.folder / "out");
    EXPECT_EQ(session.status(odd), "✓ \uFFFD.avif");
    EXPECT_TRUE(fs::exists(session.folder / "out/\xFF.avif"));
}

TEST(ModelFiles, StopsInTheMiddleOfThousandsOfFilesAndFinishesThemAll) {
    constexpr int count = 5000;
    Session session;
    const std::string content = writeAvif(smooth(2, 2));
    for (int number = 0; number < count; ++number) {
        session.folder.write("in/" + std::to_string(number) + ".avif", content);
    }
    session.add({session.folder / "in"});
    EXPECT_EQ(session.fixture.message(), "Files queued: 5000");
    EXPECT_EQ(session.fixture.listed().at(10), "10.avif");
    const QMetaObject::Connection stopper = QObject::connect(&session.model(), &Model::completedChanged, [&] {
        if (session.model().completed() == 1233) {
            session.model().setCancelled(true);
        }
    });
    session.run(session.folder / "out");
    EXPECT_EQ(session.fixture.message(), "Stopped: 1233 successful, 0 failed, 3767 remaining");
    EXPECT_EQ(session.folder.listing().size(), 2U + 5000U + 1233U);
    QObject::disconnect(stopper);

    session.run(session.folder / "all");
    EXPECT_EQ(session.fixture.message(), "Done: 5000 successful, 0 failed");
    EXPECT_EQ(session.model().statuses().size(), 5000U);
    EXPECT_THAT(hiddenIn(session.folder.path()), IsEmpty());
}

} // namespace

} // namespace ovrel::test
