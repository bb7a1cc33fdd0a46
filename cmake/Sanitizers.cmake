if(QUORVEL_SANITIZE)
    add_compile_options(-fsanitize=${QUORVEL_SANITIZE} -fno-sanitize-recover=all
        -fno-omit-frame-pointer -O1)
    add_link_options(-fsanitize=${QUORVEL_SANITIZE})
endif()
if(QUORVEL_SANITIZE MATCHES "undefined")
    # This check probes memory through a pipe and reports an error if it cannot open one; some tests
    # run out of descriptors on purpose.
    add_compile_options(-fno-sanitize=vptr)
endif()
if(QUORVEL_SANITIZE MATCHES "thread")
    # ThreadSanitizer does not support the fences in Asio's headers. Here threads share data under
    # mutexes, which it does support.
    add_compile_options(-Wno-tsan)
endif()
