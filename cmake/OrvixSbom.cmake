# Writes ORVIX_SBOM, orvix.spdx.json: what the products are made of beside our own sources, as SPDX 2.3.
# The facts are the rows of docs/DEPENDENCIES.md, under "In the products", and the versions of the
# packages that this build finds; what the page is made of has its version in the page's lock file.
# tests/install/sbom.py holds both against scripts/packages.sh.
set(ORVIX_SBOM ${PROJECT_BINARY_DIR}/generated/orvix.spdx.json)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/DEPENDENCIES.md)

# A time has to stand in it. It is the last change's, as in the packages: the same sources give the
# same bytes.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%ct
    OUTPUT_VARIABLE changed OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(NOT changed)
    set(changed 0)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} ${changed})
  string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
  unset(ENV{SOURCE_DATE_EPOCH})
else()
  string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
endif()

file(STRINGS ${PROJECT_SOURCE_DIR}/docs/DEPENDENCIES.md lines)
set(inside FALSE)
set(packages "")
set(relations "")
foreach(line IN LISTS lines)
  if(line MATCHES "^## ")
    string(COMPARE EQUAL "${line}" "## In the products" inside)
  elseif(inside AND line MATCHES "^\\| (lib[a-z0-9+-]+|nlohmann[a-z0-9+-]+|three) \\| ([^|]+) \\| ([^|]+) \\|")
    set(package ${CMAKE_MATCH_1})
    set(title ${CMAKE_MATCH_2})
    set(licence ${CMAKE_MATCH_3})
    if(WIN32 AND package STREQUAL libsqlite3-dev)
      continue()  # settings are in the registry there
    endif()
    if(package STREQUAL three)
      if(NOT ORVIX_PAGE)
        continue()
      endif()
      set(unknown FALSE)
      file(READ ${PROJECT_SOURCE_DIR}/view/page/package-lock.json lock)
      string(JSON version GET "${lock}" packages node_modules/three version)
    else()
      execute_process(COMMAND dpkg-query -W -f=\${Version} ${package}
        OUTPUT_VARIABLE version ERROR_QUIET RESULT_VARIABLE unknown)
    endif()
    if(unknown OR NOT version)
      set(version NOASSERTION)
    endif()
    string(APPEND packages ",
    {\"SPDXID\": \"SPDXRef-${package}\", \"name\": \"${title}\", \"versionInfo\": \"${version}\",
     \"packageFileName\": \"${package}\", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false,
     \"licenseConcluded\": \"${licence}\", \"licenseDeclared\": \"${licence}\", \"copyrightText\": \"NOASSERTION\"}")
    string(APPEND relations ",
    {\"spdxElementId\": \"SPDXRef-orvix\", \"relationshipType\": \"DEPENDS_ON\", \"relatedSpdxElement\": \"SPDXRef-${package}\"}")
  endif()
endforeach()
file(CONFIGURE OUTPUT ${ORVIX_SBOM} @ONLY CONTENT [[{
  "spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
  "name": "orvix-@PROJECT_VERSION@", "documentNamespace": "https://orvix.invalid/spdx/orvix-@PROJECT_VERSION@-@created@",
  "creationInfo": {"created": "@created@", "creators": ["Organization: Orvix"]},
  "packages": [
    {"SPDXID": "SPDXRef-orvix", "name": "Orvix", "versionInfo": "@PROJECT_VERSION@",
     "downloadLocation": "NOASSERTION", "filesAnalyzed": false, "licenseConcluded": "GPL-3.0-or-later",
     "licenseDeclared": "GPL-3.0-or-later", "copyrightText": "NOASSERTION"}@packages@],
  "relationships": [
    {"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES", "relatedSpdxElement": "SPDXRef-orvix"}@relations@]
}
]])
