#pragma once

#include <algorithm>
#include <cstdio>
#include <vector>

// How every bench reports: medians over its rounds, one figure a line as "name value unit".
class BenchFigures {
public:
    static double median(std::vector<double> values) {
        if (values.empty())
            return -1;
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }
    static void print(const char *name, double value, const char *unit) {
        std::printf("%s %.3f %s\n", name, value, unit);
    }
};
