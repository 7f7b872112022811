#include "platform/linux/gif_stream.h"

#include "platform/linux/memory_watch.h"

#include <new>
#include <utility>

namespace ovrel {

std::unique_ptr<GifStream> GifStream::open(InputFile file) {
    std::unique_ptr<GifStream> stream(new GifStream(std::move(file)));
    const MemoryWatch memory;
    stream->handle_.reset(DGifOpen(stream.get(), &GifStream::readForGiflib, nullptr));
    if (!stream->handle_) {
        memory.check();
        return nullptr;
    }
    return stream;
}

void GifStream::seek(std::uint64_t position) {
    reader_.seek(position);
    ended_ = false;
}

std::optional<std::uint8_t> GifStream::readByte() {
    std::uint8_t byte = 0;
    return read({&byte, 1}) == 1 ? std::optional(byte) : std::nullopt;
}

std::optional<std::uint8_t> GifStream::beginExtension() {
    int label = 0;
    GifByteType* block = nullptr;
    if (DGifGetExtension(handle_.get(), &label, &block) != GIF_OK) {
        return std::nullopt;
    }
    inExtension_ = block != nullptr;
    firstSubBlock_ = block;
    return static_cast<std::uint8_t>(label);
}

std::optional<GifStream::SubBlock> GifStream::nextSubBlock() {
    GifByteType* block = std::exchange(firstSubBlock_, nullptr);
    if (block == nullptr && inExtension_ && DGifGetExtensionNext(handle_.get(), &block) != GIF_OK) {
        block = nullptr;
    }
    inExtension_ = block != nullptr;
    // giflib hands out a sub-block as its size, then its bytes.
    return inExtension_ ? std::optional(SubBlock(block + 1, block[0])) : std::nullopt;
}

bool GifStream::beginImage() {
    handle_->Error = D_GIF_SUCCEEDED;
    // Unlike DGifGetImageDesc() this keeps no record of the image, so an endless file costs no endless memory. It fails
    // behind code sizes above 8 as well; these are ours to judge.
    DGifGetImageHeader(handle_.get());
    if (handle_->Error == D_GIF_ERR_NOT_ENOUGH_MEM) {
        throw std::bad_alloc();
    }
    if (ended_) {
        return false;
    }
    reader_.seek(position() - 1);
    codeSize_ = readByte().value_or(0);
    return true;
}

std::optional<GifStream::SubBlock> GifStream::nextDataBlock() {
    // GIF89a, section 15: a sub-block is its size, then its bytes; size 0 ends the data.
    const std::uint8_t size = readByte().value_or(0);
    const std::size_t count = read(std::span(dataBlock_).first(size));
    return count == 0 ? std::nullopt : std::optional(SubBlock(dataBlock_).first(count));
}

int GifStream::readForGiflib(GifFileType* handle, GifByteType* into, int size) noexcept {
    auto* stream = static_cast<GifStream*>(handle->UserData);
    try {
        return static_cast<int>(stream->read({into, static_cast<std::size_t>(size)}));
    } catch (const std::bad_alloc&) {
        return 0; // no exception may pass through giflib
    }
}

std::size_t GifStream::read(std::span<std::uint8_t> into) {
    const std::size_t count = reader_.read(into);
    ended_ = ended_ || count < into.size();
    return count;
}

} // namespace ovrel
