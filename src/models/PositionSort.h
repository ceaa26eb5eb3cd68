#pragma once

#include <algorithm>
#include <numeric>
#include <QList>
#include <vector>

// A stable sort that orders positions and then moves each element once: for lists of large
// elements this costs far less than moving elements at every step of the sort.
class PositionSort {
public:
    // lessAt(a, b) compares the elements at positions a and b of the list as it was.
    template <typename T, typename LessAt> static void sort(QList<T> &list, LessAt lessAt) {
        std::vector<qsizetype> order(size_t(list.size()));
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), lessAt);
        QList<T> sorted;
        sorted.reserve(list.size());
        for (const qsizetype position : order)
            sorted.append(std::move(list[position]));
        list = std::move(sorted);
    }
};
