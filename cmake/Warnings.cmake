function(tessaroven_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                           -Wcast-align -Woverloaded-virtual -Wimplicit-fallthrough)
endfunction()
