# Compiles help.chm from the pages in this folder. Run as a script:
#   cmake -DCHMCMD=<chmcmd> -DSOURCE_DIR=<this folder> -DWORK_DIR=<scratch folder>
#         -DOUTPUT=<where help.chm goes> -P BuildHelp.cmake
# The pages are compiled in a scratch copy so that the source tree stays clean. chmcmd's exit
# status cannot be trusted (it answers 0 for a missing project, and writes a file even when
# pages are missing), so its report is read as well: any warning or error fails the build,
# and the result must be a real compiled help file.
cmake_minimum_required(VERSION 3.25)

foreach(var CHMCMD SOURCE_DIR WORK_DIR OUTPUT)
    if(NOT DEFINED ${var})
        message(FATAL_ERROR "BuildHelp.cmake: ${var} not given")
    endif()
endforeach()

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")
file(GLOB pages "${SOURCE_DIR}/*.htm" "${SOURCE_DIR}/*.css" "${SOURCE_DIR}/*.png"
     "${SOURCE_DIR}/*.hhp" "${SOURCE_DIR}/*.hhc" "${SOURCE_DIR}/*.hhk")
file(COPY ${pages} DESTINATION "${WORK_DIR}")

execute_process(COMMAND "${CHMCMD}" kelvara.hhp
                WORKING_DIRECTORY "${WORK_DIR}"
                RESULT_VARIABLE status
                OUTPUT_VARIABLE report
                ERROR_VARIABLE report)

set(chm "${WORK_DIR}/help.chm")
if(NOT status EQUAL 0 OR report MATCHES "Warning|[Ee]rror|exception|Can.t")
    message(FATAL_ERROR "chmcmd failed to compile the help file (status ${status}):\n${report}")
endif()
if(NOT EXISTS "${chm}")
    message(FATAL_ERROR "chmcmd wrote no help.chm:\n${report}")
endif()
file(READ "${chm}" magic LIMIT 4 HEX)
if(NOT magic STREQUAL "49545346")  # "ITSF", the signature of a compiled help file
    message(FATAL_ERROR "${chm} is not a compiled help file")
endif()

file(COPY_FILE "${chm}" "${OUTPUT}")
