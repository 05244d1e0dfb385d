// The cost of one pop of the timer queue with 1, 100 and 10,000 timers scheduled.
// One periodic timer of interval 0 is due at every pop; the others wait an hour.
#include <Velnor11.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

namespace {

struct Counter : mTimerListener {
    void timerPopped(mTimer &) override { ++pops; }
    unsigned long pops = 0;
};

double microsecondsPerPop(int scheduled, int rounds) {
    Counter counter;
    std::vector<std::unique_ptr<mTimer>> waiting;
    for (int i = 1; i < scheduled; ++i)
        waiting.emplace_back(new mTimer(3600 * 1000, &counter, 0, false));
    mTimer due(0, &counter, 0, true);
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < rounds; ++i)
        mTimerQueue::elapse();
    std::chrono::duration<double, std::micro> spent = std::chrono::steady_clock::now() - start;
    if (counter.pops != (unsigned long)rounds)
        std::printf("warning: %lu pops for %d rounds\n", counter.pops, rounds);
    return spent.count() / rounds;
}

} // namespace

int main() {
    const int counts[] = {1, 100, 10000};
    double baseline = 0;
    std::printf("timer queue: one pop (collect, call, reschedule), best of 5\n");
    for (int n : counts) {
        double best = 1e30;
        for (int run = 0; run < 5; ++run) {
            double us = microsecondsPerPop(n, n >= 10000 ? 200 : 2000);
            if (us < best)
                best = us;
        }
        if (n == 1)
            baseline = best;
        std::printf("  %6d timers scheduled: %9.3f us per pop, %7.2f x the pop with one timer\n", n, best,
                    best / baseline);
    }
    return 0;
}
