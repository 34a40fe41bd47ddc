# CPack calls this when the tree is installed and before it is packed: the checksums of its files come into it, and with
# SOURCE_DATE_EPOCH every file gets that time, so that the same files make the same zip.
file(GLOB_RECURSE files LIST_DIRECTORIES FALSE RELATIVE ${CPACK_TEMPORARY_DIRECTORY} ${CPACK_TEMPORARY_DIRECTORY}/*)
set(sums "")
foreach(file ${files})
  file(SHA256 ${CPACK_TEMPORARY_DIRECTORY}/${file} sum)
  string(APPEND sums "${sum}  ${file}\n")
endforeach()
file(WRITE ${CPACK_TEMPORARY_DIRECTORY}/SHA256SUMS "${sums}")

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ENV{TZ} UTC)
  execute_process(COMMAND find ${CPACK_TEMPORARY_DIRECTORY} -exec touch -d @$ENV{SOURCE_DATE_EPOCH} {} +
    COMMAND_ERROR_IS_FATAL ANY)
endif()
