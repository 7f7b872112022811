# Which hosts a build can be configured for.

function(configure host)
  execute_process(COMMAND ${CMAKE_COMMAND} -D "OVREL_PUBLISHER_HOST=${host}" -P "${SCRIPT}"
    RESULT_VARIABLE result ERROR_VARIABLE message)
  set(result ${result} PARENT_SCOPE)
  set(message "${message}" PARENT_SCOPE)
endfunction()

foreach(host IN ITEMS ovrel.example a.b 1.2.c www.a-b.example xn--bcher-kva.example xn--e1afmkfd.xn--80akhbyknj4f)
  configure("${host}")
  if(NOT result EQUAL 0)
    message(SEND_ERROR "${host} is refused: ${message}")
  endif()
endforeach()

foreach(host IN ITEMS "" ovrel Ovrel.example ovrel.example. .ovrel.example ovrel..example -ovrel.example ovrel-.example
    ovrel.-example 127.0.0.1 [::1] ovrel.7 ovrel.example:443 user@ovrel.example ovrel.example/app "ovrel .example"
    ov_rel.example bücher.example)
  configure("${host}")
  if(result EQUAL 0 OR NOT message MATCHES "OVREL_PUBLISHER_HOST is")
    message(SEND_ERROR "\"${host}\" is accepted, or refused for another reason: ${message}")
  endif()
endforeach()

# Names that no server of names holds.
string(REPEAT a 63 longest_label)
string(REPEAT a. 122 longest_host)
configure("${longest_label}.example")
if(NOT result EQUAL 0)
  message(SEND_ERROR "63 characters are refused: ${message}")
endif()
foreach(host IN ITEMS "a${longest_label}.example" "${longest_host}examples.a")
  configure("${host}")
  if(result EQUAL 0 OR NOT message MATCHES "OVREL_PUBLISHER_HOST is")
    message(SEND_ERROR "\"${host}\" is accepted, or refused for another reason: ${message}")
  endif()
endforeach()
