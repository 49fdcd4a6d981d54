#pragma once

#include <optional>
#include <string>

#include "blindfold/authorization/client_authorization.h"
#include "blindfold/config/deployment_settings.h"
#include "blindfold/platform/platform.h"

namespace blindfold {

/// Whether this program is a client that the helper accepts, by the files, bundles and code signing
/// of `platform`. Reads them anew at each call and keeps nothing. Never fails: what the platform
/// does not tell counts as absent. Any thread may call.
ClientAuthorizationAssessment clientAuthorizationAssessment(const Platform& platform,
                                                            const DeploymentSettings& settings);

/// The helper executable whose signature tells the expected team: the installed one, or else the
/// copy inside `mainBundle`, or `std::nullopt` when neither can be executed.
std::optional<FileURL> signingReferenceHelperURL(const FileManager& fileManager,
                                                 const Bundle& mainBundle,
                                                 const DeploymentSettings& settings);

/// The decision about `identity`, given the helper's team identifier where it has one. Depends on
/// its arguments and, for a client without a usable signature, on the attributes of its files.
ClientAuthorizationAssessment assessClientAuthorization(
    const ClientExecutionIdentity& identity,
    const std::optional<std::string>& expectedTeamIdentifier, const FileManager& fileManager,
    const BundleProvider& bundles, const DeploymentSettings& settings);

}  // namespace blindfold
