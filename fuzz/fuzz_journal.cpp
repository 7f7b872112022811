#include "fuzz/require.h"
#include "updates/installation/file_identity.h"
#include "updates/installation/journal.h"

#include <cstdint>

using namespace ovrel;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), count);
    const std::optional<Journal> journal = parseJournal(text);
    if (journal) {
        require(formatJournal(*journal) == text);
        require(isInstallableVersion(journal->version));
        require(isPlainName(journal->staging) && isPlainName(journal->top));
        require(journal->token.size() == 32 && journal->startCount <= 99);
    }
    return 0;
}
