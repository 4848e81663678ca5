#include "platform/property_list_error.h"

namespace tarnel {

namespace {

const char* describe(PropertyListError::Case errorCase) {
    switch (errorCase) {
        case PropertyListError::Case::malformed:
            return "The data is not a property list";
        case PropertyListError::Case::rootNotDictionary:
            return "The property list is not a dictionary";
    }
    return "";
}

}  // namespace

PropertyListError::PropertyListError(Case errorCase)
    : std::runtime_error(describe(errorCase)), reason(errorCase) {}

}  // namespace tarnel
