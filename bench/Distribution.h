#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace trigora::bench {

/// Durations of one thing done many times, in microseconds.
class Distribution {
public:
    void add(std::chrono::steady_clock::duration duration) {
        values_.push_back(std::chrono::duration<double, std::micro>(duration).count());
    }
    double median() { return quantile(0.5); }
    /// The value that the given part of all does not exceed.
    double quantile(double part) {
        std::sort(values_.begin(), values_.end());
        return values_.at(static_cast<std::size_t>(part * static_cast<double>(values_.size() - 1)));
    }

private:
    std::vector<double> values_;
};

} // namespace trigora::bench
