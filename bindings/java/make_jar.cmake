# Stages the classes and the platforms' libraries and makes the jar.
file(REMOVE_RECURSE ${STAGE})
file(COPY ${CLASSES}/ DESTINATION ${STAGE}/content)
file(COPY ${LIBRARIES} DESTINATION ${STAGE}/content/native/linux-x86_64)
if(EXISTS ${WINDOWS_LIBRARIES}/quorvanti.dll AND EXISTS ${WINDOWS_LIBRARIES}/kavcrypto.dll)
  file(COPY ${WINDOWS_LIBRARIES}/quorvanti.dll ${WINDOWS_LIBRARIES}/kavcrypto.dll DESTINATION ${STAGE}/content/native/windows-x86_64)
endif()
file(WRITE ${STAGE}/manifest "Implementation-Title: quorvanti\nImplementation-Version: ${VERSION}\n")
execute_process(
  COMMAND ${JAR} --create --file ${OUTPUT} --manifest ${STAGE}/manifest -C ${STAGE}/content .
  COMMAND_ERROR_IS_FATAL ANY)
