# The bill of materials of a release in SPDX 2.3, from what makeSpdx hands over.

def lines: split("\n") | map(select(. != ""));
def id: "SPDXRef-" + gsub("[^A-Za-z0-9.-]"; "-");
def relate($type; $other): {spdxElementId: id, relationshipType: $type, relatedSpdxElement: ($other | id)};

# What every package says.
def package($license): {
  SPDXID: (.name | id), name, versionInfo, supplier: "Organization: Debian", downloadLocation: "NOASSERTION",
  filesAnalyzed: false, licenseConcluded: $license, licenseDeclared: $license, copyrightText: "NOASSERTION"
} | if .versionInfo == null then del(.versionInfo) else . end;

def ours($license): . + {versionInfo: $version} | package($license) + {
  supplier: "Organization: Quillgate authors", licenseDeclared: "MIT",
  copyrightText: "Copyright (c) 2026 the Quillgate authors"
};

# One of Debian's packages, of which there is a version only where its content is released.
def fromDebian($license): package($license) + {externalRefs: [{
  referenceCategory: "PACKAGE-MANAGER", referenceType: "purl",
  referenceLocator: "pkg:deb/debian/\(.package)\(if .versionInfo then "@" + (.versionInfo | @uri) else "" end)"
}]};

# Lines of linkedLibraries.
def components: lines | map(split("\t") | {name: .[0], versionInfo: .[1], package: .[2], license: .[3]});

($libraries | components) as $libraries
| ($installer | components[0]) as $installer
| ($tests | components[0]) as $tests
| ($files | lines | map(split("  ") | {name: .[1], sum: .[0]})) as $files
| ($depends | split(", ") | map({name: (split(" ")[0]), package: (split(" ")[0]), demand: .})) as $depends
| def named($pattern): $files[].name | select(test($pattern));
  def everything($others): ["MIT"] + (($libraries + $others) | map("(\(.license))") | unique) | join(" AND ");
  ("-setup\\.exe$") as $setupFile | ("-windows-tests\\.zip$") as $testsFile
| {
  spdxVersion: "SPDX-2.3",
  dataLicense: "CC0-1.0",
  SPDXID: "SPDXRef-DOCUMENT",
  name: "quillgate-\($version)",
  documentNamespace: $namespace,
  creationInfo: {created: $created, creators: ["Organization: Quillgate authors", "Tool: package.sh-\($version)"]},
  packages: (
    [({name: "Quillgate PRO"} | ours("MIT") + {primaryPackagePurpose: "APPLICATION"})]
    + ($files | map(ours(
        if .name | test($setupFile) then everything([$installer])
        elif .name | test($testsFile) then everything([$tests])
        elif .name | test("\\.(exe|zip)$") then everything([])
        else "MIT" end
      ) + {
        packageFileName: .name,
        primaryPackagePurpose:
          (if .name == "quillgate.exe" then "APPLICATION"
          elif .name | test("\\.tar\\.") then "SOURCE"
          elif .name | test("\\.zip$") then "ARCHIVE"
          else "INSTALL" end),
        checksums: [{algorithm: "SHA256", checksumValue: .sum}]
      }))
    + ($libraries + [$installer, $tests] | map(fromDebian(.license)))
    + ($depends | map(fromDebian("NOASSERTION")))
  ),
  relationships: (
    ["DOCUMENT" | relate("DESCRIBES"; "Quillgate PRO")]
    + [$files[].name as $file | "Quillgate PRO" | relate("CONTAINS"; $file)]
    + [named("-setup\\.exe$|-windows-x64\\.zip$|-windows-tests\\.zip$") | relate("CONTAINS"; "quillgate.exe")]
    + [named("\\.(exe|zip|deb)$") | relate("GENERATED_FROM"; named("\\.tar\\."))]
    + [("quillgate.exe", named($testsFile)) | relate("STATIC_LINK"; $libraries[].name)]
    + [named($setupFile) | relate("CONTAINS"; $installer.name)]
    + [named($testsFile) | relate("CONTAINS"; $tests.name)]
    + [named("\\.deb$") | relate("DEPENDS_ON"; $depends[].name)]
  ),
  hasExtractedLicensingInfos: [{
    licenseId: "LicenseRef-mingw-w64",
    name: "Licences of the parts of mingw-w64",
    extractedText: $mingw
  }]
}
