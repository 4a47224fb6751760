#include "time/half_open_range.h"

namespace tidyreel {

Rational totalLength(const std::vector<HalfOpenRange>& ranges) {
    Rational total;
    for (const HalfOpenRange& range : ranges) {
        total = total + range.length();
    }
    return total;
}

}  // namespace tidyreel
