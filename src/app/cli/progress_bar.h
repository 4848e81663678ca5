#pragma once

#include <cstdio>

namespace tarnel {

// A one-line progress bar on a terminal; silent when the stream is piped.
class ProgressBar {
public:
    explicit ProgressBar(std::FILE* stream);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    // `label` names the step, such as "Discovering".
    void show(const char* label, double fraction);
    // Takes the bar off the terminal, so that a line printed next stands
    // alone; the next `show` draws it again.
    void clear();

private:
    std::FILE* stream;
    bool isTerminal;
    bool hasDrawn = false;
};

}  // namespace tarnel
