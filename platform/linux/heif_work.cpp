#include "platform/linux/heif_work.h"

#include "platform/linux/heif_items.h"
#include "platform/linux/hevc_work.h"

#include <algorithm>
#include <array>
#include <map>
#include <vector>

namespace ovrel {

namespace {

constexpr HevcCost unlimited{HevcWork::unlimited, HevcWork::unlimited, HevcWork::unlimited, HevcWork::unlimited,
                             HevcWork::unlimited};

HevcCost operator+(const HevcCost& a, const HevcCost& b) {
    return {.pixels = boundedSum(a.pixels, b.pixels),
            .slicePixels = boundedSum(a.slicePixels, b.slicePixels),
            .canvasPixels = boundedSum(a.canvasPixels, b.canvasPixels),
            .largestPicture = std::max(a.largestPicture, b.largestPicture),
            .items = boundedSum(a.items, b.items)};
}

/// ISO/IEC 14496-15, section 8.3.2.1: behind fixed fields arrays of NAL units, each unit behind its length.
void addConfiguration(HeifBytes content, HevcWork& work) {
    constexpr std::uint64_t fixedBytes = 22;
    takeBytes(content, fixedBytes);
    const std::uint64_t arrays = takeNumber(content, 1);
    for (std::uint64_t array = 0; array < arrays && !content.empty(); ++array) {
        takeNumber(content, 1); // the type, which each unit says as well
        const std::uint64_t units = takeNumber(content, 2);
        for (std::uint64_t unit = 0; unit < units && !content.empty(); ++unit) {
            const std::uint64_t length = takeNumber(content, 2);
            work.addUnit(takeBytes(content, length));
        }
    }
}

/// ISO/IEC 23008-12, sections 6.6.2.2 and 6.6.2.3: version, flags, the colour behind the pictures or the numbers of
/// rows and columns, and the size, whose numbers take four bytes where the first flag is set.
/// \param data from the begin, at least as much as there is of these
std::uint64_t canvasPixels(std::uint64_t type, HeifBytes data) {
    constexpr std::uint64_t colorBytes = 8;
    constexpr std::uint64_t countBytes = 2;
    takeNumber(data, 1);
    const std::size_t numberBytes = (takeNumber(data, 1) & 1U) != 0 ? 4 : 2;
    takeBytes(data, type == boxType("iovl") ? colorBytes : countBytes);
    const std::uint64_t width = takeNumber(data, numberBytes);
    return boundedProduct(width, takeNumber(data, numberBytes));
}

class Costs {
public:
    explicit Costs(HeifBytes file)
        : items_(readItems(file)), bytesLeft_(boundedSum(boundedProduct(file.size(), readings), sharedBytes)) {}

    HevcCost costOf(std::uint64_t item) {
        return items_.areTooMany() || items_.isAmbiguous ? unlimited : costWithin(item, deepest);
    }

private:
    // Items may share their data and parameters, though not so often that reading them would cost much itself.
    static constexpr std::uint64_t readings = 4;
    static constexpr std::uint64_t sharedBytes = std::uint64_t{1} << 20;

    /// An alpha plane of a picture that is made of others as deeply as heif_derivation.h allows, and one step more.
    static constexpr int deepest = 6;

    HevcCost costWithin(std::uint64_t item, int depth) {
        if (depth == 0) {
            return unlimited; // made of itself
        }
        if (const auto known = costs_.find(item); known != costs_.end()) {
            return known->second;
        }
        HevcCost cost = ownCostOf(item);
        const auto [begin, end] = items_.partsOf.equal_range(item);
        for (auto part = begin; part != end; ++part) {
            const Part& needed = part->second;
            cost = cost + (needed.isNeeded && !isPicture(needed.item) ? unlimited : costWithin(needed.item, depth - 1));
        }
        costs_[item] = cost;
        return cost;
    }

    /// libheif ends the program where a picture is made of an item that it does not take for one. Those in AV1 never
    /// get here.
    bool isPicture(std::uint64_t item) const {
        constexpr std::array<std::uint64_t, 4> pictures{boxType("hvc1"), boxType("grid"), boxType("iovl"),
                                                        boxType("iden")};
        const auto type = items_.types.find(item);
        return type != items_.types.end() &&
               std::find(pictures.begin(), pictures.end(), type->second) != pictures.end();
    }

    HevcCost ownCostOf(std::uint64_t item) {
        HevcWork work;
        bool isHevc = false;
        const auto [begin, end] = items_.propertiesOf.equal_range(item);
        for (auto index = begin; index != end; ++index) {
            const std::uint64_t place = index->second - 1; // of 0, which is none, the largest number
            if (place >= items_.properties.size() || items_.properties[place].type != boxType("hvcC")) {
                continue;
            }
            const HeifBytes configuration = items_.properties[place].content;
            if (!mayRead(configuration.size())) {
                return unlimited;
            }
            addConfiguration(configuration, work);
            isHevc = true;
        }
        HevcCost cost{.items = 1};
        const auto type = items_.types.find(item);
        const bool hasCanvas =
            type != items_.types.end() && (type->second == boxType("grid") || type->second == boxType("iovl"));
        const auto data = items_.places.find(item);
        if ((!isHevc && !hasCanvas) || data == items_.places.end()) {
            return cost; // without data libheif has nothing to decode either
        }
        if (!data->second.isKnown || !mayRead(data->second.bytes)) {
            return unlimited;
        }
        const std::vector<std::uint8_t> whole = joined(data->second);
        if (isHevc) {
            work.addUnits(whole);
            cost.pixels = work.pixels();
            cost.slicePixels = work.slicePixels();
            cost.largestPicture = work.largestPicture();
        }
        if (hasCanvas) {
            cost.canvasPixels = canvasPixels(type->second, whole);
            cost.largestPicture = std::max(cost.largestPicture, cost.canvasPixels);
        }
        return cost;
    }

    bool mayRead(std::uint64_t bytes) {
        const bool isLittle = bytes <= bytesLeft_;
        bytesLeft_ -= isLittle ? bytes : bytesLeft_;
        return isLittle;
    }

    static std::vector<std::uint8_t> joined(const Place& place) {
        std::vector<std::uint8_t> whole;
        for (const HeifBytes extent : place.extents) {
            whole.insert(whole.end(), extent.begin(), extent.end());
        }
        return whole;
    }

    Items items_;
    std::uint64_t bytesLeft_;
    std::map<std::uint64_t, HevcCost> costs_;
};

} // namespace

HevcCost hevcCostOf(HeifBytes heif, std::uint64_t item) {
    return Costs(heif).costOf(item);
}

std::uint64_t codedPixels(std::uint32_t width, std::uint32_t height) {
    constexpr std::uint64_t largestBlock = 64; // ITU-T H.265, section 7.4.3.2.1
    const auto rounded = [](std::uint64_t side) { return (side + largestBlock - 1) / largestBlock * largestBlock; };
    return rounded(width) * rounded(height);
}

bool isWithin(const HevcCost& cost, std::uint64_t stated) {
    constexpr std::uint64_t anySize = std::uint64_t{1} << 20;
    constexpr std::uint64_t mostTimes = 4;
    constexpr std::uint64_t anySlices = std::uint64_t{1} << 28;
    constexpr std::uint64_t mostItems = 4096;
    const std::uint64_t most = std::max(anySize, boundedProduct(mostTimes, stated));
    return cost.pixels <= most && cost.canvasPixels <= most && cost.slicePixels <= std::max(most, anySlices) &&
           cost.items <= mostItems && cost.largestPicture != HevcWork::unlimited;
}

} // namespace ovrel
