#pragma once

#include <QElapsedTimer>

#include <sys/resource.h>

#include <ctime>

// Wall and processor time of one round. The processor time is that of every
// thread of the process (the services', the network layer's and the
// server's) and of every child process that ended and was waited for.
class RoundTimer {
public:
    RoundTimer() : processorStart(processorSeconds()) { wall.start(); }

    double wallSeconds() const { return static_cast<double>(wall.nsecsElapsed()) / 1e9; }
    double processorSecondsSpent() const { return processorSeconds() - processorStart; }

private:
    static double processorSeconds() {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        rusage children{};
        getrusage(RUSAGE_CHILDREN, &children);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9 +
               seconds(children.ru_utime) + seconds(children.ru_stime);
    }

    static double seconds(const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    }

    QElapsedTimer wall;
    double processorStart;
};

// The times of many rounds, added up.
struct RoundTimes {
    double wall = 0;
    double processor = 0;

    void add(const RoundTimer& timer) {
        wall += timer.wallSeconds();
        processor += timer.processorSecondsSpent();
    }
};
