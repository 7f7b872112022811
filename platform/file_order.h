/// \file file_order.h
/// The order of a file browser, the same in every locale.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace ovrel {

/// Makes sort keys of paths: root rules of the Unicode Collation Algorithm (UTS #10) with numbers by value and without
/// regard to case. Keys compare as bytes. One thread at a time.
class FileOrder {
public:
    FileOrder();
    ~FileOrder();
    FileOrder(const FileOrder&) = delete;
    FileOrder& operator=(const FileOrder&) = delete;

    /// Bytes that are not UTF-8 sort as U+FFFD.
    std::string key(const std::filesystem::path& path) const;

private:
    struct Collator;
    std::unique_ptr<Collator> collator_;
};

} // namespace ovrel
