#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "blindfold/model/detection.h"
#include "blindfold/model/json/json_decoder.h"
#include "blindfold/model/json/json_encoder.h"

// The codec and three libraries at the same work, JSON text into records and back, compiled with
// the same flags. Each library is used in the way that is fastest for it: simdjson with a parser
// that is used again, a padded text, and access in the order of the text.

namespace blindfold {
namespace {
/// A detection of `count` times the devices and services of one machine.
DetectionResult detection(int count) {
  DetectionResult result;
  for (int index = 0; index < count; ++index) {
    const std::string number = std::to_string(index);
    result.cameras.push_back({.id = "0x1420000005ac" + number,
                              .localizedName = "FaceTime HD Camera (Built-in)",
                              .modelID = "UVC Camera VendorID_1452 ProductID_34068",
                              .uniqueID = "6F9C1A2E-3B47-4C11-9D5A-" + number,
                              .transportType = "builtIn",
                              .isConnected = true,
                              .isSuspended = false,
                              .isInUseByAnotherApplication = false,
                              .kind = CameraKind::builtIn,
                              .isExperimental = false});
    for (const std::string_view name :
         {"com.apple.appleh13camerad", "com.apple.cameraassistantd", "com.apple.cameracaptureagent",
          "com.apple.cameraeffectsagent", "com.apple.camerastatusd"}) {
      const std::string label = std::string(name) + number;
      result.resolvedTargets.emplace_back(label, ServiceDomain::system, index, 512 + index,
                                          ControlMode::sigstop);
      result.serviceStates.push_back(
          {.label = label, .domain = ServiceDomain::system, .pid = 512 + index});
    }
    result.notes.push_back("The camera " + number + " is built in.");
  }
  result.selectedCameraID = result.cameras.front().id;
  return result;
}

constexpr int small = 1;      ///< About 1.3 KB.
constexpr int large = 7'500;  ///< About 9 MB.

const DetectionResult& detectionOf(const benchmark::State& state) {
  static const DetectionResult smallDetection = detection(small);
  static const DetectionResult largeDetection = detection(large);
  return state.range(0) == small ? smallDetection : largeDetection;
}

std::string textOf(const benchmark::State& state) {
  return makeJSONEncoder().encode(detectionOf(state));
}

template <class E>
E caseOf(std::string_view text) {
  const auto value = fromRawValue<E>(text);
  if (!value) throw std::runtime_error("no such case");
  return *value;
}

// simdjson, on demand

std::string_view simdjsonText(simdjson::simdjson_result<simdjson::ondemand::value> value) {
  return value.get_string().value();
}

template <class Record, class Read>
std::vector<Record> simdjsonList(simdjson::simdjson_result<simdjson::ondemand::value> value,
                                 const Read& read) {
  std::vector<Record> list;
  for (auto element : value.get_array()) list.push_back(read(element.get_object().value()));
  return list;
}

std::optional<std::int64_t> simdjsonPid(simdjson::ondemand::object& object) {
  auto pid = object["pid"];
  if (pid.error() == simdjson::NO_SUCH_FIELD) return std::nullopt;
  if (pid.is_null()) return std::nullopt;
  return pid.get_int64().value();
}

CameraInfo simdjsonCamera(simdjson::ondemand::object object) {
  CameraInfo camera{};
  camera.id = simdjsonText(object["id"]);
  camera.isConnected = object["isConnected"].get_bool();
  camera.isExperimental = object["isExperimental"].get_bool();
  camera.isInUseByAnotherApplication = object["isInUseByAnotherApplication"].get_bool();
  camera.isSuspended = object["isSuspended"].get_bool();
  camera.kind = caseOf<CameraKind>(simdjsonText(object["kind"]));
  camera.localizedName = simdjsonText(object["localizedName"]);
  camera.modelID = simdjsonText(object["modelID"]);
  camera.transportType = simdjsonText(object["transportType"]);
  camera.uniqueID = simdjsonText(object["uniqueID"]);
  return camera;
}

TargetService simdjsonTarget(simdjson::ondemand::object object) {
  TargetService target;
  target.controlMode = caseOf<ControlMode>(simdjsonText(object["controlMode"]));
  target.domain = caseOf<ServiceDomain>(simdjsonText(object["domain"]));
  target.label = simdjsonText(object["label"]);
  target.pid = simdjsonPid(object);
  target.priority = object["priority"].get_int64();
  return target;
}

LaunchdServiceState simdjsonState(simdjson::ondemand::object object) {
  LaunchdServiceState state{};
  state.domain = caseOf<ServiceDomain>(simdjsonText(object["domain"]));
  state.label = simdjsonText(object["label"]);
  state.pid = simdjsonPid(object);
  return state;
}

DetectionResult simdjsonDetection(simdjson::ondemand::object object) {
  DetectionResult result;
  result.cameras = simdjsonList<CameraInfo>(object["cameras"], simdjsonCamera);
  for (auto note : object["notes"].get_array()) result.notes.emplace_back(simdjsonText(note));
  result.resolvedTargets = simdjsonList<TargetService>(object["resolvedTargets"], simdjsonTarget);
  auto selected = object["selectedCameraID"];
  if (!selected.error()) result.selectedCameraID = simdjsonText(selected);
  result.serviceStates = simdjsonList<LaunchdServiceState>(object["serviceStates"], simdjsonState);
  return result;
}

// RapidJSON

std::string_view rapidjsonText(const rapidjson::Value& value) {
  return {value.GetString(), value.GetStringLength()};
}

std::optional<std::int64_t> rapidjsonPid(const rapidjson::Value& object) {
  const auto pid = object.FindMember("pid");
  if (pid == object.MemberEnd() || pid->value.IsNull()) return std::nullopt;
  return pid->value.GetInt64();
}

CameraInfo rapidjsonCamera(const rapidjson::Value& object) {
  CameraInfo camera{};
  camera.id = rapidjsonText(object["id"]);
  camera.localizedName = rapidjsonText(object["localizedName"]);
  camera.modelID = rapidjsonText(object["modelID"]);
  camera.uniqueID = rapidjsonText(object["uniqueID"]);
  camera.transportType = rapidjsonText(object["transportType"]);
  camera.isConnected = object["isConnected"].GetBool();
  camera.isSuspended = object["isSuspended"].GetBool();
  camera.isInUseByAnotherApplication = object["isInUseByAnotherApplication"].GetBool();
  camera.kind = caseOf<CameraKind>(rapidjsonText(object["kind"]));
  camera.isExperimental = object["isExperimental"].GetBool();
  return camera;
}

DetectionResult rapidjsonDetection(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseValidateEncodingFlag>(text.data(), text.size());
  if (document.HasParseError()) throw std::runtime_error("not JSON");
  DetectionResult result;
  for (const auto& each : document["cameras"].GetArray()) {
    result.cameras.push_back(rapidjsonCamera(each));
  }
  const auto selected = document.FindMember("selectedCameraID");
  if (selected != document.MemberEnd()) result.selectedCameraID = rapidjsonText(selected->value);
  for (const auto& each : document["resolvedTargets"].GetArray()) {
    result.resolvedTargets.emplace_back(std::string(rapidjsonText(each["label"])),
                                        caseOf<ServiceDomain>(rapidjsonText(each["domain"])),
                                        each["priority"].GetInt64(), rapidjsonPid(each),
                                        caseOf<ControlMode>(rapidjsonText(each["controlMode"])));
  }
  for (const auto& each : document["serviceStates"].GetArray()) {
    result.serviceStates.push_back({.label = std::string(rapidjsonText(each["label"])),
                                    .domain = caseOf<ServiceDomain>(rapidjsonText(each["domain"])),
                                    .pid = rapidjsonPid(each)});
  }
  for (const auto& each : document["notes"].GetArray()) {
    result.notes.emplace_back(rapidjsonText(each));
  }
  return result;
}

using RapidJSONWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void write(RapidJSONWriter& writer, const CameraInfo& camera);
void write(RapidJSONWriter& writer, const TargetService& target);
void write(RapidJSONWriter& writer, const LaunchdServiceState& state);

void write(RapidJSONWriter& writer, std::string_view text) {
  writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void write(RapidJSONWriter& writer, bool value) {
  writer.Bool(value);
}

void write(RapidJSONWriter& writer, std::int64_t value) {
  writer.Int64(value);
}

template <class Element>
void write(RapidJSONWriter& writer, const std::vector<Element>& list) {
  writer.StartArray();
  for (const Element& each : list) write(writer, each);
  writer.EndArray();
}

template <class Value>
void writeMember(RapidJSONWriter& writer, std::string_view key, const Value& value) {
  writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
  write(writer, value);
}

void write(RapidJSONWriter& writer, const CameraInfo& camera) {
  writer.StartObject();
  writeMember(writer, "id", std::string_view(camera.id));
  writeMember(writer, "isConnected", camera.isConnected);
  writeMember(writer, "isExperimental", camera.isExperimental);
  writeMember(writer, "isInUseByAnotherApplication", camera.isInUseByAnotherApplication);
  writeMember(writer, "isSuspended", camera.isSuspended);
  writeMember(writer, "kind", rawValue(camera.kind));
  writeMember(writer, "localizedName", std::string_view(camera.localizedName));
  writeMember(writer, "modelID", std::string_view(camera.modelID));
  writeMember(writer, "transportType", std::string_view(camera.transportType));
  writeMember(writer, "uniqueID", std::string_view(camera.uniqueID));
  writer.EndObject();
}

void write(RapidJSONWriter& writer, const TargetService& target) {
  writer.StartObject();
  writeMember(writer, "controlMode", rawValue(target.controlMode));
  writeMember(writer, "domain", rawValue(target.domain));
  writeMember(writer, "label", std::string_view(target.label));
  if (target.pid) writeMember(writer, "pid", *target.pid);
  writeMember(writer, "priority", target.priority);
  writer.EndObject();
}

void write(RapidJSONWriter& writer, const LaunchdServiceState& state) {
  writer.StartObject();
  writeMember(writer, "domain", rawValue(state.domain));
  writeMember(writer, "label", std::string_view(state.label));
  if (state.pid) writeMember(writer, "pid", *state.pid);
  writer.EndObject();
}

rapidjson::StringBuffer rapidjsonEncode(const DetectionResult& result) {
  rapidjson::StringBuffer buffer;
  RapidJSONWriter writer(buffer);
  writer.StartObject();
  writeMember(writer, "cameras", result.cameras);
  writeMember(writer, "notes", result.notes);
  writeMember(writer, "resolvedTargets", result.resolvedTargets);
  if (result.selectedCameraID) {
    writeMember(writer, "selectedCameraID", std::string_view(*result.selectedCameraID));
  }
  writeMember(writer, "serviceStates", result.serviceStates);
  writer.EndObject();
  return buffer;
}

// nlohmann

using nlohmann::json;

std::optional<std::int64_t> nlohmannPid(const json& object) {
  const auto pid = object.find("pid");
  if (pid == object.end() || pid->is_null()) return std::nullopt;
  return pid->get<std::int64_t>();
}

template <class E>
E nlohmannCase(const json& value) {
  return caseOf<E>(value.get_ref<const std::string&>());
}

DetectionResult nlohmannDetection(const std::string& text) {
  const json document = json::parse(text);
  DetectionResult result;
  for (const json& each : document.at("cameras")) {
    result.cameras.push_back({.id = each.at("id"),
                              .localizedName = each.at("localizedName"),
                              .modelID = each.at("modelID"),
                              .uniqueID = each.at("uniqueID"),
                              .transportType = each.at("transportType"),
                              .isConnected = each.at("isConnected"),
                              .isSuspended = each.at("isSuspended"),
                              .isInUseByAnotherApplication = each.at("isInUseByAnotherApplication"),
                              .kind = nlohmannCase<CameraKind>(each.at("kind")),
                              .isExperimental = each.at("isExperimental")});
  }
  if (document.contains("selectedCameraID")) {
    result.selectedCameraID = document.at("selectedCameraID").get<std::string>();
  }
  for (const json& each : document.at("resolvedTargets")) {
    result.resolvedTargets.emplace_back(each.at("label").get<std::string>(),
                                        nlohmannCase<ServiceDomain>(each.at("domain")),
                                        each.at("priority").get<std::int64_t>(), nlohmannPid(each),
                                        nlohmannCase<ControlMode>(each.at("controlMode")));
  }
  for (const json& each : document.at("serviceStates")) {
    result.serviceStates.push_back({.label = each.at("label"),
                                    .domain = nlohmannCase<ServiceDomain>(each.at("domain")),
                                    .pid = nlohmannPid(each)});
  }
  for (const json& each : document.at("notes")) result.notes.push_back(each);
  return result;
}

json nlohmannTree(const TargetService& target) {
  json object{{"controlMode", rawValue(target.controlMode)},
              {"domain", rawValue(target.domain)},
              {"label", target.label},
              {"priority", target.priority}};
  if (target.pid) object["pid"] = *target.pid;
  return object;
}

json nlohmannTree(const LaunchdServiceState& state) {
  json object{{"domain", rawValue(state.domain)}, {"label", state.label}};
  if (state.pid) object["pid"] = *state.pid;
  return object;
}

json nlohmannTree(const CameraInfo& camera) {
  return {{"id", camera.id},
          {"isConnected", camera.isConnected},
          {"isExperimental", camera.isExperimental},
          {"isInUseByAnotherApplication", camera.isInUseByAnotherApplication},
          {"isSuspended", camera.isSuspended},
          {"kind", rawValue(camera.kind)},
          {"localizedName", camera.localizedName},
          {"modelID", camera.modelID},
          {"transportType", camera.transportType},
          {"uniqueID", camera.uniqueID}};
}

template <class Element>
json nlohmannList(const std::vector<Element>& list) {
  json array = json::array();
  for (const Element& each : list) array.push_back(nlohmannTree(each));
  return array;
}

std::string nlohmannEncode(const DetectionResult& result) {
  json object{{"cameras", nlohmannList(result.cameras)},
              {"notes", result.notes},
              {"resolvedTargets", nlohmannList(result.resolvedTargets)},
              {"serviceStates", nlohmannList(result.serviceStates)}};
  if (result.selectedCameraID) object["selectedCameraID"] = *result.selectedCameraID;
  return object.dump();
}

/// Measures `decode`, which must give the record that the text was made from.
template <class Decode>
void measureDecoding(benchmark::State& state, std::size_t size, const Decode& decode) {
  if (decode() != detectionOf(state)) return state.SkipWithError("another record");
  for (auto each : state) {
    static_cast<void>(each);
    benchmark::DoNotOptimize(decode());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size) * state.iterations());
}

void decodeBlindfold(benchmark::State& state) {
  const std::string text = textOf(state);
  measureDecoding(state, text.size(), [&] { return JSONDecoder().decode<DetectionResult>(text); });
}

void decodeSimdjson(benchmark::State& state) {
  const simdjson::padded_string text(textOf(state));
  simdjson::ondemand::parser parser;
  measureDecoding(state, text.size(), [&] {
    simdjson::ondemand::document document = parser.iterate(text);
    return simdjsonDetection(document.get_object());
  });
}

void decodeRapidJSON(benchmark::State& state) {
  const std::string text = textOf(state);
  measureDecoding(state, text.size(), [&] { return rapidjsonDetection(text); });
}

void decodeNlohmann(benchmark::State& state) {
  const std::string text = textOf(state);
  measureDecoding(state, text.size(), [&] { return nlohmannDetection(text); });
}

template <class Encode>
void measureEncoding(benchmark::State& state, const Encode& encode) {
  const DetectionResult& record = detectionOf(state);
  for (auto each : state) {
    static_cast<void>(each);
    benchmark::DoNotOptimize(encode(record));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(textOf(state).size()) * state.iterations());
}

void encodeBlindfold(benchmark::State& state) {
  measureEncoding(state, [](const auto& record) { return makeJSONEncoder().encode(record); });
}

void encodeRapidJSON(benchmark::State& state) {
  measureEncoding(state, rapidjsonEncode);
}

void encodeNlohmann(benchmark::State& state) {
  measureEncoding(state, nlohmannEncode);
}

BENCHMARK(decodeBlindfold)->Arg(small)->Arg(large);
BENCHMARK(decodeSimdjson)->Arg(small)->Arg(large);
BENCHMARK(decodeRapidJSON)->Arg(small)->Arg(large);
BENCHMARK(decodeNlohmann)->Arg(small)->Arg(large);
BENCHMARK(encodeBlindfold)->Arg(small)->Arg(large);
BENCHMARK(encodeRapidJSON)->Arg(small)->Arg(large);
BENCHMARK(encodeNlohmann)->Arg(small)->Arg(large);
}  // namespace
}  // namespace blindfold

BENCHMARK_MAIN();
