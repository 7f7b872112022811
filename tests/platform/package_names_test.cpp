#include "platform/file_system.h"

#include <gtest/gtest.h>

namespace ovrel::test {

namespace {

TEST(PackageNames, AreKnownByTheirExtensionInAnyCase) {
    for (const char* name :
         {"Preview.app", "x.bundle", "AppKit.framework", "Photos Library.photoslibrary", "a.pkg", "letter.rtfd",
          "Ovrel.xcodeproj", "LETTER.RTFD", "Old.Name.App", "/Library/a.app", "\xff.app"}) {
        EXPECT_TRUE(isPackageName(name)) << name;
    }
}

TEST(PackageNames, LeaveOrdinaryFoldersAlone) {
    for (const char* name : {"photos", "app", ".app", "photos.2024", "app.old", "x.apps", "x.", "photos.app/2024", "",
                             "x.jpg", "application", "x. app", "x.приложение"}) {
        EXPECT_FALSE(isPackageName(name)) << name;
    }
}

} // namespace

} // namespace ovrel::test
