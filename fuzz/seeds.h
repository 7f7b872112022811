/// \file seeds.h
/// Small files of every kind for the fuzz targets to begin with.
#pragma once

#include <filesystem>
#include <string>

namespace ovrel::test {

/// A folder with a folder of seeds for each target.
class Seeds {
public:
    explicit Seeds(std::filesystem::path folder);

    /// Writes a file. Puts pictures also into the folder of the target for all formats.
    /// \throws std::runtime_error when it cannot be written
    void add(const std::string& target, const std::string& name, const std::string& bytes) const;

private:
    std::filesystem::path folder_;
};

/// Those of the decoders and of the Exif reader.
void addPictureSeeds(const Seeds& seeds);
/// Those of the publisher's settings and of updates.
void addUpdateSeeds(const Seeds& seeds);

/// All of them, the same bytes every time.
/// \throws std::runtime_error when one cannot be made
void writeSeeds(const std::filesystem::path& folder);

} // namespace ovrel::test
