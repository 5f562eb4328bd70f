#pragma once

#include <cstring>
#include <string_view>

#include "OpcUaTypes.h"
#include "client/text_field.h"
#include "uabase/string.h"

/// The password of a record, wiped when it goes.
class Password {
public:
    explicit Password(const _OpcUaClientConfig& config) : m_text(terminated(config)) {}
    ~Password() {
        m_text.wipe();
        explicit_bzero(m_terminated, sizeof m_terminated);
    }
    Password(const Password&) = delete;
    Password& operator=(const Password&) = delete;

    const UaString& text() const { return m_text; }

private:
    const char* terminated(const _OpcUaClientConfig& config) {
        const std::string_view password = fieldText(config.password);
        password.copy(m_terminated, password.size());
        return m_terminated;
    }

    char m_terminated[sizeof _OpcUaClientConfig::password + 1] = {};
    UaString m_text; ///< made in its place: a temporary one would keep a short password
};
