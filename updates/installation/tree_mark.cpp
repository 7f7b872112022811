#include "updates/installation/tree_mark.h"

#include "updates/installation/installed_layout.h"
#include "updates/installation/open_folder.h"
#include "updates/installation/read_file.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>

#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace ovrel {

namespace {

constexpr std::size_t tokenBytes = 16;
constexpr std::string_view digits = "0123456789abcdef";

} // namespace

std::string newToken() {
    std::array<std::uint8_t, tokenBytes> bytes = {};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        require(errno == 0 ? EIO : errno, "no random bytes");
    }
    std::string token;
    for (const std::uint8_t byte : bytes) {
        token += {digits[byte / digits.size()], digits[byte % digits.size()]};
    }
    return token;
}

bool isToken(const std::string& text) {
    return text.size() == tokenBytes * 2 && text.find_first_not_of(digits) == std::string::npos;
}

void markTree(TreeCalls& calls, int tree, const std::string& token) {
    unmarkTree(calls, tree);
    require(calls.create(tree, treeMarkName, token), "cannot mark the new tree");
}

void unmarkTree(TreeCalls& calls, int tree) {
    const int error = calls.remove(tree, treeMarkName);
    require(error == ENOENT ? 0 : error, "cannot remove the mark");
}

TreeKind treeKind(int folder, const std::string& name, const std::string& token) {
    const FileDescriptor tree = openFolder(folder, name);
    if (!tree) {
        return TreeKind::none;
    }
    const FileDescriptor file(::openat(tree.get(), treeMarkName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file && readWhole(file.get(), token.size()) == token ? TreeKind::marked : TreeKind::unmarked;
}

} // namespace ovrel
