# Read by cpack before it makes packages. Times in packages are that of the changelog's newest entry,
# as with Debian's own tools, so that whoever packages the same files gets the same packages.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND dpkg-parsechangelog --file "${CPACK_SYSCONFREADER_DEBIAN_DIR}/changelog" --show-field
            Timestamp
    OUTPUT_VARIABLE epoch
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCE_DATE_EPOCH} "${epoch}")
endif()
# Every package has a summary of its own; that of the project would come first in each.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
