// The words of a command line, a NUL after each.

#include "fuzz/require.h"
#include "updates/installation/clean_environment.h"
#include "updates/installation/file_identity.h"
#include "updates/installation/installer_order.h"
#include "updates/installation/journal.h"

#include <algorithm>
#include <cstdint>

using namespace ovrel;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::vector<std::string> words = parseEnvironment(std::string(reinterpret_cast<const char*>(bytes), count));
    if (const std::optional<InstallerOrder> order = parseInstallerOrder(words)) {
        require(isPlainName(order->name) && isPlainName(order->install.staging) && isPlainName(order->install.top));
        require(isInstallableVersion(order->install.version));
        require(isPlainPath(order->program) && order->program.front() != '/');
        require(order->watchMilliseconds <= 600000);
        // Numbers may be written in several ways, all else in one.
        const std::vector<std::string> again = formatInstallerOrder(*order);
        const std::optional<InstallerOrder> same = parseInstallerOrder(again);
        require(same && formatInstallerOrder(*same) == again);
    }
    // The environment comes as such words, too.
    const std::string home = environmentValue(words, "HOME");
    require(home.empty() || std::find(words.begin(), words.end(), "HOME=" + home) != words.end());
    const std::vector<std::string> clean = cleanEnvironment(words);
    require(cleanEnvironment(clean) == clean && parseEnvironment(formatEnvironment(clean)) == clean);
    return 0;
}
