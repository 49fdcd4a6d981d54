#include "blindfold/model/detection.h"

#include <utility>

#include "blindfold/model/json/record_decoding.h"
#include "blindfold/model/json/record_encoding.h"

namespace blindfold {

std::string serviceID(ServiceDomain domain, std::string_view label) {
  std::string id(rawValue(domain));
  id += ':';
  id += label;
  return id;
}

TargetService::TargetService(std::string theLabel, ServiceDomain theDomain,
                             std::int64_t thePriority, std::optional<std::int64_t> thePid,
                             ControlMode theControlMode)
    : label(std::move(theLabel)),
      domain(theDomain),
      priority(thePriority),
      pid(thePid),
      controlMode(theControlMode) {}

std::string TargetService::id() const {
  return serviceID(domain, label);
}

std::string LaunchdServiceState::id() const {
  return serviceID(domain, label);
}

template CameraInfo JSONDecoder::decode(std::string_view) const;
template TargetService JSONDecoder::decode(std::string_view) const;
template LaunchdServiceState JSONDecoder::decode(std::string_view) const;
template DetectionResult JSONDecoder::decode(std::string_view) const;

template std::string JSONEncoder::encode(const CameraInfo&) const;
template std::string JSONEncoder::encode(const TargetService&) const;
template std::string JSONEncoder::encode(const LaunchdServiceState&) const;
template std::string JSONEncoder::encode(const DetectionResult&) const;

}  // namespace blindfold
