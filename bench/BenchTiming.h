// Timing shared by the benchmark programs.
#pragma once
#include <windows.h>

#include <algorithm>
#include <functional>

namespace bench {

inline double seconds() {
    static const double tick = [] {
        LARGE_INTEGER f;
        QueryPerformanceFrequency(&f);
        return 1.0 / (double)f.QuadPart;
    }();
    LARGE_INTEGER t;
    QueryPerformanceCounter(&t);
    return (double)t.QuadPart * tick;
}

// Seconds per call of `work`: calls are timed in runs of at least 20 ms.
inline double runOf(const std::function<void()> &work) {
    int reps = 1;
    for (;;) {
        const double start = seconds();
        for (int i = 0; i < reps; ++i)
            work();
        const double elapsed = seconds() - start;
        if (elapsed >= 0.02)
            return elapsed / reps;
        reps *= elapsed < 0.002 ? 10 : 2;
    }
}

// The best of seven such runs.
inline double timeOf(const std::function<void()> &work) {
    double best = 1e30;
    for (int run = 0; run < 7; ++run)
        best = std::min(best, runOf(work));
    return best;
}

// The subject and its baseline in alternate runs, seven each, the best of each: both see
// the same share of a busy machine.
struct Timing {
    double subject, baseline;
};
inline Timing compare(const std::function<void()> &subject, const std::function<void()> &baseline) {
    Timing best = {1e30, 1e30};
    for (int run = 0; run < 7; ++run) {
        best.subject = std::min(best.subject, runOf(subject));
        best.baseline = std::min(best.baseline, runOf(baseline));
    }
    return best;
}

} // namespace bench
