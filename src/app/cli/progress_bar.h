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

private:
    std::FILE* stream;
    bool isTerminal;
    bool hasDrawn = false;
};

}  // namespace tarnel
