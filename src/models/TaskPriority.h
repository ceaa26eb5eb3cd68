#pragma once

// Queue priorities of background work in the thread pool: what the user waits for goes first.
struct TaskPriority {
    static constexpr int userInitiated = 2;
    static constexpr int utility = 1;
};
