#include "test_rack/test_rack.h"

namespace plant_server {

Permissions::Permissions(const Branch& rack) {
    const Branch folder = rack.folder("Access", "Access rights");
    const auto add = [&](const std::string& name, const std::string& description, UA_Byte level,
                         NodeContext* context) {
        VariableOptions options = described(description, level);
        options.context = context;
        folder.variable(name, Value::scalar(UA_Int32(42)), options);
    };
    add("ReadOnly", "Writing gives BadNotWritable", readOnly, nullptr);
    add("WriteOnly", "Reading gives BadNotReadable", writeOnly, nullptr);
    add("None", "Neither readable nor writable by anyone", 0, nullptr);
    add("LoggedInUsers", "BadUserAccessDenied for the anonymous user", readWrite, &m_loggedIn);
    add("Denied", "BadUserAccessDenied for every user", readWrite, &m_denied);
}

} // namespace plant_server
