#include "uabase/date_time.h"

#include <cstdio>

UaDateTime UaDateTime::now() {
    return UaDateTime(UA_DateTime_now());
}

UaDateTime UaDateTime::fromUnixTime(OpcUa_Int64 seconds) {
    return UaDateTime(UA_DateTime_fromUnixTime(seconds));
}

OpcUa_Int64 UaDateTime::toUnixTime() const {
    return UA_DateTime_toUnixTime(m_ticks);
}

UaString UaDateTime::toString() const {
    const UA_DateTimeStruct time = UA_DateTime_toStruct(m_ticks);
    char text[64];
    std::snprintf(text, sizeof(text), "%04d-%02u-%02uT%02u:%02u:%02u.%03uZ", time.year, time.month, time.day,
                  time.hour, time.min, time.sec, time.milliSec);
    return UaString(text);
}
