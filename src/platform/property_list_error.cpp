#include "platform/property_list_error.h"

namespace tarnel {

namespace {

const char* describe(PropertyListError::Case errorCase) {
    switch (errorCase) {
        case PropertyListError::Case::malformed:
            return "The data is not a property list";
        case PropertyListError::Case::rootNotDictionary:
            return "The property list is not a dictionary";
        case PropertyListError::Case::exceedsLimits:
            return "The property list is larger or deeper than a bundle's property list can be";
    }
    return "";
}

}  // namespace

PropertyListError::PropertyListError(Case errorCase)
    : std::runtime_error(describe(errorCase)), reason(errorCase) {}

}  // namespace tarnel
