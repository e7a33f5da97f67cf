#pragma once

#include <algorithm>
#include <vector>

namespace bench {

// The median of the timings (ms); -1 when there are none.
inline double median(std::vector<double> v)
{
    if (v.empty())
        return -1;
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

}  // namespace bench
