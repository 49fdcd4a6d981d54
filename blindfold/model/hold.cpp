#include "blindfold/model/hold.h"

#include <utility>

#include "blindfold/model/json/record_decoding.h"
#include "blindfold/model/json/record_encoding.h"

namespace blindfold {

HoldRequest::HoldRequest(std::string theCameraID, CameraKind theKind,
                         std::vector<TargetService> theTargets,
                         bool theCaptureWasActiveAtRequestTime, double theDurationHint,
                         std::map<std::string, std::int64_t> theCorrelationSnapshot)
    : cameraID(std::move(theCameraID)),
      kind(theKind),
      targets(std::move(theTargets)),
      captureWasActiveAtRequestTime(theCaptureWasActiveAtRequestTime),
      durationHint(theDurationHint),
      correlationSnapshot(std::move(theCorrelationSnapshot)) {}

std::string HeldTarget::id() const {
  return serviceID(domain, label) + ":" + std::to_string(pid.value_or(-1));
}

template HoldRequest JSONDecoder::decode(std::string_view) const;
template HeldTarget JSONDecoder::decode(std::string_view) const;
template HoldState JSONDecoder::decode(std::string_view) const;
template OperationResult JSONDecoder::decode(std::string_view) const;

template std::string JSONEncoder::encode(const HoldRequest&) const;
template std::string JSONEncoder::encode(const HeldTarget&) const;
template std::string JSONEncoder::encode(const HoldState&) const;
template std::string JSONEncoder::encode(const OperationResult&) const;

}  // namespace blindfold
