// Lets each heap block that an operation takes fail in turn, once alone and once with all later ones, and
// tells how many of the points were reached.
//
//     FailingInTurn points("CMemoryStream::Write");
//     while (points.Next()) {
//         CMemoryStream stream;
//         const bool done = points.Try([&] { stream.Write(text, 4); });
//         EXPECT_EQ(stream.GetSize(), done ? 4u : 0u);
//     }
//
// What Try runs may throw; everything outside of it has all the memory it needs, and so have the first two
// rounds: one for what is made once in a process, one to count.
#pragma once

#include "Plinth/Streams/Exceptions.h"
#include "Tests/Support/HeapWatch.h"

#include <cstdint>
#include <new>
#include <string>
#include <utility>

class FailingInTurn {
public:
    explicit FailingInTurn(std::string name) : name_(std::move(name)) {}
    ~FailingInTurn(); // fails the test unless every point was reached
    FailingInTurn(const FailingInTurn&) = delete;
    FailingInTurn& operator=(const FailingInTurn&) = delete;

    bool Next()
    {
        ++round_;
        return round_ == FIRST_ROUND || round_ <= points_ * 2;
    }

    // Whether what fails in this round is the one block alone, or none.
    [[nodiscard]] bool FailsOnce() const { return round_ % 2 != 0 || round_ == 0; }

    // Whether the operation came to its end.
    template <typename Operation>
    bool Try(const Operation& operation)
    {
        const HeapWatch watch({.ordinal = (round_ + 1) / 2, .lasting = round_ % 2 == 0});
        bool done = true;
        try {
            operation();
        } catch (const Plinth::CException&) {
            done = false;
        } catch (const std::bad_alloc&) {
            done = false;
        }
        if (round_ == 0) {
            points_ = watch.Blocks();
        }
        reached_ += watch.Failures() != 0 ? 1U : 0U;
        return done;
    }

private:
    static constexpr unsigned FIRST_ROUND = UINT32_MAX;

    std::string name_;
    unsigned points_ = 0;
    unsigned reached_ = 0;
    unsigned round_ = FIRST_ROUND - 1;
};
