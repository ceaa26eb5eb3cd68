#include "IconThemeDirectory.h"

#include <cstdlib>

namespace {

int distanceOutside(int value, int low, int high) {
    if (value < low)
        return low - value;
    if (value > high)
        return value - high;
    return 0;
}

} // namespace

bool IconThemeDirectory::matchesSize(int iconSize, int iconScale) const {
    if (scale != iconScale)
        return false;
    switch (type) {
    case Type::Fixed:
        return size == iconSize;
    case Type::Scalable:
        return minSize <= iconSize && iconSize <= maxSize;
    case Type::Threshold:
        return size - threshold <= iconSize && iconSize <= size + threshold;
    }
    return false;
}

int IconThemeDirectory::sizeDistance(int iconSize, int iconScale) const {
    const int wanted = iconSize * iconScale;
    switch (type) {
    case Type::Fixed:
        return std::abs(size * scale - wanted);
    case Type::Scalable:
        return distanceOutside(wanted, minSize * scale, maxSize * scale);
    case Type::Threshold:
        // The standard's pseudo-code measures from MinSize and MaxSize here, a known slip;
        // the threshold's own bounds are what the directory serves.
        return distanceOutside(wanted, (size - threshold) * scale, (size + threshold) * scale);
    }
    return 0;
}
