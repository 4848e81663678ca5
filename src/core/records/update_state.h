#pragma once

#include <QString>

#include <cstdint>
#include <functional>

#include <qcoro/qcorotask.h>

namespace tarnel {

// The progress of one update or adoption. Equal when the case and its payload
// are equal.
class UpdateState {
public:
    enum class Kind {
        none,
        pending,
        initializing,
        downloading,
        extracting,
        installing,
        completed,
        error,
        cancelling,
    };

    UpdateState() = default;

    static UpdateState none() { return UpdateState(Kind::none); }
    static UpdateState pending() { return UpdateState(Kind::pending); }
    static UpdateState initializing() { return UpdateState(Kind::initializing); }
    static UpdateState downloading(std::int64_t loadedSize, std::int64_t totalSize);
    static UpdateState extracting(double progress);
    static UpdateState installing() { return UpdateState(Kind::installing); }
    static UpdateState completed() { return UpdateState(Kind::completed); }
    static UpdateState error(const QString& message);
    static UpdateState cancelling() { return UpdateState(Kind::cancelling); }

    Kind kind() const { return stateKind; }
    std::int64_t loadedSize() const { return loaded; }
    std::int64_t totalSize() const { return total; }
    double progress() const { return extractProgress; }
    const QString& errorMessage() const { return message; }

    bool operator==(const UpdateState& other) const;

private:
    explicit UpdateState(Kind kind) : stateKind(kind) {}

    Kind stateKind = Kind::none;
    std::int64_t loaded = 0;
    std::int64_t total = 0;
    double extractProgress = 0.0;
    QString message;
};

// The optional asynchronous callback through which long operations report.
using ProgressHandler = std::function<QCoro::Task<>(UpdateState)>;

size_t qHash(const UpdateState& state, size_t seed = 0);

}  // namespace tarnel
