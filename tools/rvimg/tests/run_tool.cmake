# Runs the built rvimg on a few files: the demo's gallery, info and convert on
# what it wrote, and files that are missing, cut short or no BMP files at all.
# Every run must end with the exit code expected (never a signal) and say what
# is expected.
# Usage: cmake -DRVIMG=<tool> -DWORK=<directory> -P run_tool.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

function(expect_run code pattern)
  execute_process(COMMAND ${RVIMG} ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result STREQUAL "${code}")
    message(FATAL_ERROR "rvimg ${ARGN}: exit '${result}', expected ${code}\n${out}${err}")
  endif()
  if(NOT "${out}${err}" MATCHES "${pattern}")
    message(FATAL_ERROR "rvimg ${ARGN}: the output doesn't match '${pattern}'\n${out}${err}")
  endif()
endfunction()

set(gallery ${WORK}/gallery)
expect_run(0 "picture-565.bmp +320 x 200, 16 bits" demo ${gallery})
expect_run(0 "size +320 x 200 pixels.*order +blue-green-red, rows bottom-up.*resolution +96 x 96"
           info ${gallery}/picture.bmp)
expect_run(0 "palette +16 colours" info ${gallery}/picture-4-fixed.bmp)
expect_run(0 "copy.bmp: 320 x 200, 8 bits" convert ${gallery}/picture-8-gray.bmp ${WORK}/copy.bmp)
expect_run(0 "--bits N.*--dither none.floyd" --help)
expect_run(2 "--grow qualifies --rotate" convert ${WORK}/copy.bmp ${WORK}/x.bmp --flip --grow)
expect_run(2 "unknown command" frobnicate)

# Failures print the kernel's message and write nothing.
expect_run(1 "File not found" info ${WORK}/missing.bmp)
file(WRITE ${WORK}/text.bmp "not a picture at all")
expect_run(1 "Invalid file format" info ${WORK}/text.bmp)
execute_process(COMMAND head -c 4000 ${gallery}/picture.bmp OUTPUT_FILE ${WORK}/cut.bmp)
expect_run(1 "The DIB is invalid" info ${WORK}/cut.bmp)
expect_run(1 "The DIB is invalid" convert ${WORK}/cut.bmp ${WORK}/out.bmp)
if(EXISTS ${WORK}/out.bmp)
  message(FATAL_ERROR "a failed convert wrote ${WORK}/out.bmp")
endif()

# Each operation runs.
foreach(operation "--bits;8;--palette;optimized;--dither;floyd" "--bits;4;--palette;${gallery}/picture-4-fixed.bmp"
                  "--bits;4;--palette;${gallery}/picture-4-fixed.bmp;--palette-object"
                  "--resize;160x100;--resample;linear"
                  "--rotate;17.5;--grow;--fill;ffffff" "--flip" "--reverse" "--perspective;6")
  execute_process(COMMAND ${RVIMG} convert ${gallery}/picture.bmp ${WORK}/op.bmp ${operation}
                  RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT result STREQUAL "0")
    message(FATAL_ERROR "rvimg convert ${operation}: exit '${result}'\n${out}${err}")
  endif()
endforeach()
