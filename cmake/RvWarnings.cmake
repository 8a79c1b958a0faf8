# Warnings every target of the project is built with.
function(rv_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
endfunction()
