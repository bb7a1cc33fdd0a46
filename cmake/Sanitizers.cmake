if(QUORVEL_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${QUORVEL_SANITIZE})
endif()
if(QUORVEL_SANITIZE MATCHES "undefined")
    # This check opens a pipe to look at memory, and takes it for a fault when there is none to be
    # had: some tests run out of descriptors on purpose.
    add_compile_options(-fno-sanitize=vptr)
endif()
if(QUORVEL_SANITIZE MATCHES "thread")
    # ThreadSanitizer does not see the fences in Asio's headers. What threads hand to each other
    # here goes through mutexes, which it does see.
    add_compile_options(-Wno-tsan)
endif()
