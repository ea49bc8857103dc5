# shellcheck shell=bash
# Makes the manifests by which winget finds the setup. Sourced; SOURCE_DATE_EPOCH is the time of the release.

# Writes the manifests of version $3, whose setup is $1 and can be downloaded below the address $2, into the
# new folder $4.
makeWinget() {
  local setup=$1 address=$2 version=$3 folder=$4 id=Quillgate.QuillgatePRO hash
  local head="PackageIdentifier: $id
PackageVersion: $version" tail='ManifestVersion: 1.10.0'
  hash=$(sha256sum <"$setup")
  mkdir "$folder"

  cat >"$folder/$id.yaml" <<YAML
$head
DefaultLocale: en-US
ManifestType: version
$tail
YAML

  cat >"$folder/$id.installer.yaml" <<YAML
$head
Platform:
- Windows.Desktop
MinimumOSVersion: 10.0.0.0
InstallerType: nullsoft
Scope: user
UpgradeBehavior: install
ExpectedReturnCodes:
- InstallerReturnCode: 1
  ReturnResponse: cancelledByUser
- InstallerReturnCode: 3
  ReturnResponse: packageInUse
- InstallerReturnCode: 4
  ReturnResponse: downgrade
ProductCode: Quillgate
ReleaseDate: $(date --utc --date="@$SOURCE_DATE_EPOCH" +%F)
Installers:
- Architecture: x64
  InstallerUrl: $address/${setup##*/}
  InstallerSha256: ${hash%% *}
ManifestType: installer
$tail
YAML

  cat >"$folder/$id.locale.en-US.yaml" <<YAML
$head
PackageLocale: en-US
Publisher: Quillgate authors
PackageName: Quillgate PRO
License: MIT
Copyright: Copyright (c) 2026 the Quillgate authors
ShortDescription: Forward TCP and UDP ports and watch what passes
Description: |-
  A small port-forwarding server with a window. It holds ten rules; each relays a local TCP or UDP port to a target.
  What happens is written to a log, and what passes through can be watched and exported as ASCII or hex.
Moniker: quillgate
Tags:
- network
- port-forwarding
- tcp
- udp
ManifestType: defaultLocale
$tail
YAML
}
