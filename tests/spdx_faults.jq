# Prints what breaks a rule of SPDX 2.3 in a bill of materials that lists packages without their files, one
# fault a line.

def need($fields): . as $object | $fields[] | select(($object[.] // "") == "") | "there is no \(.)";

def licences: [scan("LicenseRef-[A-Za-z0-9.-]+")];

. as $document
| [.packages[].SPDXID] as $packages
| ($packages + [.SPDXID]) as $ids
| [.hasExtractedLicensingInfos[].licenseId] as $extracted
| need(["spdxVersion", "dataLicense", "SPDXID", "name", "documentNamespace", "creationInfo", "packages"]),
  (select(.spdxVersion != "SPDX-2.3" or .dataLicense != "CC0-1.0" or .SPDXID != "SPDXRef-DOCUMENT")
    | "version, licence or id of the document are wrong"),
  (.documentNamespace | select(test("^[a-z]+://[^#[:space:]]+$") | not) | "the namespace is no address"),
  (.creationInfo.created | select(test("^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$") | not) | "bad time \(.)"),
  (.creationInfo.creators | select(length == 0) | "there is no creator"),
  (.creationInfo.creators[] | select(test("^(Person|Organization|Tool): .") | not) | "bad creator \(.)"),
  ($ids[] | select(test("^SPDXRef-[A-Za-z0-9.-]+$") | not) | "bad id \(.)"),
  (select($ids | length != (unique | length)) | "an id is there twice"),
  (.packages[]
    | .name as $name
    | (need(["SPDXID", "name", "downloadLocation"]),
      (select(.filesAnalyzed != false) | "files are not listed"),
      (select((.supplier // "NOASSERTION") | test("^(Person|Organization): .|^NOASSERTION$") | not) | "bad supplier"),
      (.checksums // [] | .[]
        | select(.algorithm != "SHA256" or (.checksumValue | test("^[0-9a-f]{64}$") | not)) | "bad checksum"),
      (.primaryPackagePurpose // "OTHER"
        | select(IN("APPLICATION", "ARCHIVE", "INSTALL", "SOURCE", "OTHER") | not) | "bad purpose \(.)"),
      (.licenseConcluded, .licenseDeclared | select((. // "") == "") | "a licence is missing"),
      ((.licenseConcluded, .licenseDeclared) // "" | licences - $extracted | .[] | "no text for \(.)"),
      (.externalRefs // [] | .[]
        | select(.referenceCategory != "PACKAGE-MANAGER" or .referenceType != "purl"
          or (.referenceLocator | test("^pkg:deb/debian/[a-z0-9][a-z0-9.+-]+(@[A-Za-z0-9.~%-]+)?$") | not))
        | "bad reference \(.referenceLocator)"))
    | "\($name): \(.)"),
  (.relationships[]
    | (.spdxElementId, .relatedSpdxElement | select(IN($ids[]) | not) | "a relationship with \(.), which is not there"),
      (.relationshipType
        | select(IN("DESCRIBES", "CONTAINS", "GENERATED_FROM", "STATIC_LINK", "DEPENDS_ON") | not)
        | "bad relationship \(.)")),
  (select([.relationships[] | select(.relationshipType == "DESCRIBES" and .spdxElementId == $document.SPDXID)] == [])
    | "nothing is described"),
  (($packages - [.relationships[].relatedSpdxElement])[] | "nothing has to do with \(.)"),
  (.hasExtractedLicensingInfos[] | need(["licenseId", "extractedText"]))
