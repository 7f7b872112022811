/// \file publisher.h
/// Where the publisher of Ovrel keeps settings, banners and updates.
#pragma once

#include <QLatin1StringView>

namespace ovrel {

/// The host that this build asks, in lower case; set when the build is configured (OVREL_PUBLISHER_HOST).
inline constexpr QLatin1StringView publisherHost{OVREL_PUBLISHER_HOST};

/// Under which name desktops and archives know this program, a reverse domain name (OVREL_APPLICATION_ID).
inline constexpr QLatin1StringView applicationIdentifier{OVREL_APPLICATION_ID};

inline constexpr QLatin1StringView programVersion{OVREL_VERSION};

/// What Ovrel says it is: name and version.
inline constexpr QLatin1StringView userAgent{"Ovrel/" OVREL_VERSION};

} // namespace ovrel
