#include "app/cli/progress_bar.h"

#include <algorithm>
#include <string>

#include <unistd.h>

namespace tarnel {

namespace {
constexpr int barWidth = 40;
}

ProgressBar::ProgressBar(std::FILE* stream) : stream(stream), isTerminal(isatty(fileno(stream))) {}

ProgressBar::~ProgressBar() {
    // Leave the terminal as it was.
    clear();
}

void ProgressBar::clear() {
    if (hasDrawn) {
        std::fprintf(stream, "\r%*s\r", barWidth + 16, "");
        std::fflush(stream);
        hasDrawn = false;
    }
}

void ProgressBar::show(const char* label, double fraction) {
    if (!isTerminal) {
        return;
    }
    const double clamped = std::clamp(fraction, 0.0, 1.0);
    const int filled = static_cast<int>(clamped * barWidth);
    const std::string bar = std::string(filled, '#') + std::string(barWidth - filled, '-');
    std::fprintf(stream, "\r%-12s [%s] %3d%%", label, bar.c_str(), static_cast<int>(clamped * 100));
    std::fflush(stream);
    hasDrawn = true;
}

}  // namespace tarnel
