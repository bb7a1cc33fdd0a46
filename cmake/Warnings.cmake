# For our own code only. Initializer lists omit trailing fields on purpose.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
    -Wnon-virtual-dtor -Woverloaded-virtual -Wno-missing-field-initializers -Werror)
