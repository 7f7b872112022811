# Whose updates this build installs. Also runs alone: cmake -D… -P OvrelUpdateKey.cmake

set(OVREL_UPDATE_PUBLIC_KEY "" CACHE STRING
  "The publisher's Ed25519 key, 32 bytes as base64; a build without one does not update itself")

if(NOT OVREL_UPDATE_PUBLIC_KEY STREQUAL "")
  string(LENGTH "${OVREL_UPDATE_PUBLIC_KEY}" ovrel_key_length)
  # The last character before the padding stands for four bits, so its two lowest are zero.
  if(NOT ovrel_key_length EQUAL 44 OR NOT OVREL_UPDATE_PUBLIC_KEY MATCHES "^[A-Za-z0-9+/]+[AEIMQUYcgkosw048]=$")
    message(FATAL_ERROR
      "OVREL_UPDATE_PUBLIC_KEY is \"${OVREL_UPDATE_PUBLIC_KEY}\", which is no key: it takes the base64 of 32 bytes, 44 "
      "characters.")
  endif()
  # The public half of the seed 00 01 02 ... 1f, with which everybody can sign.
  if(OVREL_RELEASE AND OVREL_UPDATE_PUBLIC_KEY STREQUAL "A6EHv/POEL4dcN0Y50vAmWfk1jCbpQ1fHdyGZBJVMbg=")
    message(FATAL_ERROR
      "OVREL_UPDATE_PUBLIC_KEY is the key of the tests, whose secret half is public. A release needs a key of its own.")
  endif()
endif()
