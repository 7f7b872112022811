#include "platform/file_order.h"

#include "platform/programming_fault.h"

#include <array>
#include <cstdint>
#include <new>

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace ovrel {

namespace {

// Without its collation data the program was installed wrongly; no file could make a difference.
void requireCollator(UErrorCode status) {
    if (status == U_MEMORY_ALLOCATION_ERROR) {
        throw std::bad_alloc();
    }
    if (U_FAILURE(status)) {
        programmingFault("ICU has no root collation");
    }
}

} // namespace

struct FileOrder::Collator {
    std::unique_ptr<icu::Collator> icu;
};

FileOrder::FileOrder() : collator_(std::make_unique<Collator>()) {
    UErrorCode status = U_ZERO_ERROR;
    collator_->icu.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    requireCollator(status);
    collator_->icu->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    collator_->icu->setAttribute(UCOL_STRENGTH, UCOL_SECONDARY, status);
    requireCollator(status);
}

FileOrder::~FileOrder() = default;

std::string FileOrder::key(const std::filesystem::path& path) const {
    const icu::UnicodeString text = icu::UnicodeString::fromUTF8(path.native());
    std::array<std::uint8_t, 512> usual{};
    const auto usualSize = static_cast<std::int32_t>(usual.size());
    const std::int32_t size = collator_->icu->getSortKey(text, usual.data(), usualSize);
    if (size == 0) {
        throw std::bad_alloc();
    }
    if (size <= usualSize) {
        return {usual.begin(), usual.begin() + size};
    }
    std::string key(static_cast<std::size_t>(size), '\0');
    collator_->icu->getSortKey(text, reinterpret_cast<std::uint8_t*>(key.data()), size);
    return key;
}

} // namespace ovrel
