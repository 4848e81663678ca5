#pragma once

namespace tarnel {

// Where a full refresh writes how far it has come, from 0.0 to 1.0. The
// application list implements it; so does the command line.
class DiscoveryProgress {
public:
    virtual ~DiscoveryProgress() = default;
    virtual void setDiscoveryProgress(double fraction) = 0;
};

}  // namespace tarnel
