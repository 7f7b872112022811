#include "platform/file_system.h"
#include "platform/text.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace ovrel {

namespace {

/// Folders that a Mac shows as one document, as they arrive on external disks, network shares and in archives. The
/// pictures inside are icons, previews or originals that another program manages.
constexpr std::array packageExtensions = std::to_array<std::string_view>({
    // programs and what they load
    "app",
    "appex",
    "bundle",
    "dext",
    "dsym",
    "framework",
    "kext",
    "mdimporter",
    "prefpane",
    "qlgenerator",
    "systemextension",
    "wdgt",
    "xctest",
    "xpc",
    // installers and disk images
    "mpkg",
    "pkg",
    "sparsebundle",
    // libraries of pictures, films and music
    "aplibrary",
    "cocatalog",
    "dvdmedia",
    "fcpbundle",
    "imovielibrary",
    "logicx",
    "lrdata",
    "lrlibrary",
    "migratedaplibrary",
    "migratedphotolibrary",
    "musiclibrary",
    "photolibrary",
    "photoslibrary",
    "tvlibrary",
    // documents; those of office programs are single files today, and their extensions everyday words
    "epub",
    "graffle",
    "nib",
    "rtfd",
    "scptd",
    // projects of developers
    "mlmodelc",
    "mlpackage",
    "xcarchive",
    "xcdatamodel",
    "xcdatamodeld",
    "xcodeproj",
    "xcresult",
    "xcworkspace",
    // virtual machines
    "pvm",
    "utm",
    "vmwarevm",
});

} // namespace

bool isPackageName(const std::filesystem::path& name) {
    const std::string extension = lowerCaseAscii(name.extension().native());
    return !extension.empty() && std::find(packageExtensions.begin(), packageExtensions.end(),
                                           std::string_view(extension).substr(1)) != packageExtensions.end();
}

} // namespace ovrel
