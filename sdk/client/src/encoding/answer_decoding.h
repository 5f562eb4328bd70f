#pragma once

#include <cstddef>

#include "uabase/byte_view.h"
#include "uabase/status.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// For an answer that has no list of results, or whose number is not known beforehand.
constexpr std::size_t anyNumber = static_cast<std::size_t>(-1);

/// Decodes a service's answer (its type id is already behind us) into `response`, which the caller has
/// initialised and clears in any case.
///
/// A few bytes can ask for a lot of memory. So the bytes are walked first, and what decoding them would take
/// is added up: more than a few times what arrived, plus an allowance for small answers, is refused. A matrix
/// without elements, which the engine can't decode, keeps its dimensions. What follows the answer is ignored,
/// as it harms nobody.
///
/// @param type  a response: its first member is a ResponseHeader
/// @param expectedResults  how many elements the member `results` must have unless the service failed
/// BadDecodingError for bytes that are no such answer, BadUnknownResponse for another number of results,
/// BadEncodingLimitsExceeded for one that would take too much memory or is nested too deeply. Nothing is left
/// in `response` then but its header, if that much could be read.
UaStatus decodeAnswer(UaByteView body, const UA_DataType& type, std::size_t expectedResults, void* response);

} // namespace UaClientSdk
