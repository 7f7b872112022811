/// \file heif_handles.h
/// libheif handles with their deleters.
#pragma once

#include <libheif/heif.h>

#include <memory>

namespace ovrel {

struct HeifRelease {
    void operator()(heif_context* context) const noexcept { heif_context_free(context); }
    void operator()(heif_encoder* encoder) const noexcept { heif_encoder_release(encoder); }
    void operator()(heif_encoding_options* options) const noexcept { heif_encoding_options_free(options); }
    void operator()(heif_image* image) const noexcept { heif_image_release(image); }
    void operator()(heif_image_handle* handle) const noexcept { heif_image_handle_release(handle); }
    void operator()(heif_color_profile_nclx* nclx) const noexcept { heif_nclx_color_profile_free(nclx); }
};

using HeifContext = std::unique_ptr<heif_context, HeifRelease>;
using HeifEncoder = std::unique_ptr<heif_encoder, HeifRelease>;
using HeifEncodingOptions = std::unique_ptr<heif_encoding_options, HeifRelease>;
using HeifImage = std::unique_ptr<heif_image, HeifRelease>;
using HeifHandle = std::unique_ptr<heif_image_handle, HeifRelease>;
using HeifNclx = std::unique_ptr<heif_color_profile_nclx, HeifRelease>;

/// Makes libheif's plug-ins known, those of this installation included. Before, lists of codecs are empty, and files
/// are opened with the system's plug-ins alone. Any thread.
void loadHeifPlugins();

inline bool succeeded(const heif_error& error) {
    return error.code == heif_error_Ok;
}

} // namespace ovrel
