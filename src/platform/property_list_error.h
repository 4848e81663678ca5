#pragma once

#include <stdexcept>

namespace tarnel {

// Why bytes could not be taken as a property-list dictionary.
class PropertyListError : public std::runtime_error {
public:
    enum class Case { malformed, rootNotDictionary, exceedsLimits };

    explicit PropertyListError(Case errorCase);

    Case errorCase() const { return reason; }

private:
    Case reason;
};

}  // namespace tarnel
