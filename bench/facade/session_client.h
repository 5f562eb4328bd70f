#pragma once

#include <string>

#include "uaclient/session.h"

namespace bench {

/// The library's session layer without the facade, used as straight as RawClient uses the engine. Every
/// failure is a std::runtime_error.
class SessionClient {
public:
    explicit SessionClient(const std::string& url);

    double readScalar();
    void writeScalar(double value);
    /// One browse with its further pages, and one read of the Value for each child. Returns the number of
    /// children.
    int browseChildren();

private:
    void readValues(const UaReadValueIds& nodes, UaDataValues& values);
    int readTypes(const UaReferenceDescriptions& page);

    UaClientSdk::UaSession m_session;
    UaReadValueIds m_scalarToRead;
    UaWriteValues m_scalarToWrite;
    UaNodeId m_folder;
};

} // namespace bench
