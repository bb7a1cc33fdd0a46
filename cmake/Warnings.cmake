# For our own code only. Initializer lists omit trailing fields on purpose. They are errors in the
# presets of developers (CMAKE_COMPILE_WARNING_AS_ERROR), not for those who build what they run, with
# compilers that we may not know.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wno-missing-field-initializers)
