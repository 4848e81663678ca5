#include "core/records/update_state.h"

#include "core/records/hashing.h"

namespace tarnel {

UpdateState UpdateState::downloading(std::int64_t loadedSize, std::int64_t totalSize) {
    UpdateState state(Kind::downloading);
    state.loaded = loadedSize;
    state.total = totalSize;
    return state;
}

UpdateState UpdateState::extracting(double progress) {
    UpdateState state(Kind::extracting);
    state.extractProgress = progress;
    return state;
}

UpdateState UpdateState::error(const QString& message) {
    UpdateState state(Kind::error);
    state.message = message;
    return state;
}

bool UpdateState::operator==(const UpdateState& other) const {
    if (stateKind != other.stateKind) {
        return false;
    }
    switch (stateKind) {
        case Kind::downloading:
            return loaded == other.loaded && total == other.total;
        case Kind::extracting:
            return extractProgress == other.extractProgress;
        case Kind::error:
            return message == other.message;
        default:
            return true;
    }
}

size_t qHash(const UpdateState& state, size_t seed) {
    seed = ::qHash(static_cast<int>(state.kind()), seed);
    switch (state.kind()) {
        case UpdateState::Kind::downloading:
            return qHashMulti(seed, state.loadedSize(), state.totalSize());
        case UpdateState::Kind::extracting:
            return hashDouble(state.progress(), seed);
        case UpdateState::Kind::error:
            return ::qHash(state.errorMessage(), seed);
        default:
            return seed;
    }
}

}  // namespace tarnel
