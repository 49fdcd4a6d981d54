#pragma once

#include <exception>
#include <string_view>

#include "blindfold/helperclient/helper_client_error.h"
#include "blindfold/model/json/decoding_error.h"
#include "blindfold/model/json/json_decoder.h"

namespace blindfold {

/// The record in a reply's bytes. A reply that does not decode is a `transport` failure that
/// carries the decoder's error: its text tells the user what is wrong with the reply.
template <class Record>
Record decodeReply(std::string_view reply) {
  try {
    return JSONDecoder{}.decode<Record>(reply);
  } catch (const DecodingError&) {
    throw HelperClientError::transport(std::current_exception());
  }
}

}  // namespace blindfold
