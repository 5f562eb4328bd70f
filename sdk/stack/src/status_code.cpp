#include "uastack/status_code.h"

const char* OpcUa_StatusCode_Name(OpcUa_StatusCode code) {
    return UA_StatusCode_name(code);
}
