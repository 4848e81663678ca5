#include "app/console/standard_output.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <string>
#include <system_error>

#include <unistd.h>

namespace tarnel {

bool writeStandardOutput(const QByteArray& bytes, const QString& name) {
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            write(STDOUT_FILENO, bytes.constData() + written, bytes.size() - written);
        if (count >= 0) {
            written += count;
        } else if (errno != EINTR) {
            const std::string reason = std::generic_category().message(errno);
            std::fprintf(stderr, "%s: cannot write to standard output: %s\n",
                         name.toUtf8().constData(), reason.c_str());
            return false;
        }
    }
    return true;
}

void ignoreBrokenPipeSignal() {
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace tarnel
