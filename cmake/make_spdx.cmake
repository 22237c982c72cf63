# Writes DOCUMENT, an SPDX 2.3 document in JSON of the package NAME of VERSION, which consists of FILES below ROOT.
cmake_minimum_required(VERSION 3.25)
set(authors "the derkit authors")
set(optional_dependencies CLI11 nlohmann-json libgcrypt gnutls)
set(licence_of_CLI11 BSD-3-Clause)
set(licence_of_nlohmann-json MIT)
set(licence_of_libgcrypt LGPL-2.1-or-later)
set(licence_of_gnutls LGPL-2.1-or-later)
set(licence_of_libstdc++ "GPL-3.0-or-later WITH GCC-exception-3.1")
string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)

function(add_relationship from type to)
  string(APPEND relationships ",
    {\"spdxElementId\": \"SPDXRef-${from}\", \"relationshipType\": \"${type}\", \"relatedSpdxElement\": \"SPDXRef-${to}\"}")
  set(relationships "${relationships}" PARENT_SCOPE)
endfunction()

set(files "")
set(all_sha1 "")
set(relationships "")
list(SORT FILES)
foreach(file ${FILES})
  cmake_path(RELATIVE_PATH file BASE_DIRECTORY ${ROOT} OUTPUT_VARIABLE name)
  file(SHA1 ${file} sha1)
  file(SHA256 ${file} sha256)
  list(APPEND all_sha1 ${sha1})
  string(REGEX REPLACE "[^A-Za-z0-9]" "-" id File-${name})
  string(SHA1 name_sha1 ${name}) # keeps a-b and a_b apart
  string(SUBSTRING ${name_sha1} 0 8 name_sha1)
  string(APPEND id -${name_sha1})
  string(APPEND files ",
    {
      \"SPDXID\": \"SPDXRef-${id}\",
      \"fileName\": \"./${name}\",
      \"checksums\": [
        {\"algorithm\": \"SHA1\", \"checksumValue\": \"${sha1}\"},
        {\"algorithm\": \"SHA256\", \"checksumValue\": \"${sha256}\"}
      ],
      \"licenseConcluded\": \"MIT\",
      \"licenseInfoInFiles\": [\"NOASSERTION\"],
      \"copyrightText\": \"Copyright (c) 2026 ${authors}\"
    }")
  add_relationship(Package CONTAINS ${id})
endforeach()
string(REGEX REPLACE "^," "" files "${files}")

# SPDX 2.3, 7.9: the SHA-1 of the files' SHA-1s in ascending order.
list(SORT all_sha1)
list(JOIN all_sha1 "" all_sha1)
string(SHA1 verification_code "${all_sha1}")

set(dependencies "")
foreach(dependency libstdc++ ${optional_dependencies})
  string(REPLACE "+" "p" id Dependency-${dependency})
  string(APPEND dependencies ",
    {
      \"SPDXID\": \"SPDXRef-${id}\",
      \"name\": \"${dependency}\",
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": false,
      \"licenseConcluded\": \"NOASSERTION\",
      \"licenseDeclared\": \"${licence_of_${dependency}}\",
      \"copyrightText\": \"NOASSERTION\"
    }")
  if(dependency IN_LIST optional_dependencies)
    add_relationship(${id} OPTIONAL_DEPENDENCY_OF Package)
  else()
    add_relationship(Package DEPENDS_ON ${id})
  endif()
endforeach()

file(WRITE ${DOCUMENT} "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"dataLicense\": \"CC0-1.0\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"${NAME}-${VERSION}\",
  \"documentNamespace\": \"https://spdx.org/spdxdocs/${NAME}-${VERSION}-${verification_code}\",
  \"creationInfo\": {
    \"created\": \"${created}\",
    \"creators\": [\"Organization: ${authors}\", \"Tool: CMake\"]
  },
  \"packages\": [
    {
      \"SPDXID\": \"SPDXRef-Package\",
      \"name\": \"${NAME}\",
      \"versionInfo\": \"${VERSION}\",
      \"supplier\": \"Organization: ${authors}\",
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": true,
      \"packageVerificationCode\": {\"packageVerificationCodeValue\": \"${verification_code}\"},
      \"licenseConcluded\": \"MIT\",
      \"licenseDeclared\": \"MIT\",
      \"licenseInfoFromFiles\": [\"NOASSERTION\"],
      \"copyrightText\": \"Copyright (c) 2026 ${authors}\"
    }${dependencies}
  ],
  \"files\": [${files}
  ],
  \"relationships\": [
    {\"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\", \"relatedSpdxElement\": \"SPDXRef-Package\"}${relationships}
  ]
}
")
