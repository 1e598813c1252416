// Counts the heap blocks that the program's own objects ask for, by malloc and by the language's operators,
// and makes some of them fail, or every use of the heap a fault. What shared libraries take for themselves it
// does not see. Programs that use it link with the target HeapWatch.
//
//     for (unsigned n = 1, failed = 1; failed != 0; ++n) {
//         HeapWatch watch({.ordinal = n});
//         ... the code under test ...
//         failed = watch.Failures();
//     }
#pragma once

#include <cstddef>
#include <cstdint>

struct HeapRule {
    unsigned ordinal = 0;           // the block that fails, 1 for the first; 0: none
    bool lasting = false;           // the later ones fail as well
    std::size_t largest = SIZE_MAX; // larger blocks fail
    bool faults = false;            // every use of the heap is a fault, giving blocks back as well
};

// Watches from its construction to its end. One at a time, for programs of one thread.
class HeapWatch {
public:
    explicit HeapWatch(HeapRule rule = {});
    ~HeapWatch();
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;

    [[nodiscard]] unsigned Blocks() const; // asked for, failed ones included
    [[nodiscard]] unsigned Failures() const;
};
