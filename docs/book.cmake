# All pages as one book in HTML, with contents and search: target `book`, made by mkdocs.
#   cmake -DSOURCE=DIR -DBOOK=DIR -DMKDOCS=PROGRAM [-DMANDOC=PROGRAM] -P book.cmake

file(REMOVE_RECURSE ${BOOK})
file(GLOB pages RELATIVE ${SOURCE} ${SOURCE}/*.md ${SOURCE}/docs/*.md)
foreach(page IN LISTS pages ITEMS examples/router/README.md bindings/python/README.md)
  file(READ ${SOURCE}/${page} text)
  string(REGEX REPLACE "\n```([a-z]+) [^\n]*" "\n```\\1" text "${text}") # it knows no names of blocks
  string(REGEX REPLACE "\n([^\n]+:)\n\n?([-0-9])" "\n\\1\n\n\\2" text "${text}") # and wants a line before a list
  string(REGEX REPLACE "(man/[a-z_-]+\\.[1-9])\\)" "\\1.html)" text "${text}")
  file(WRITE ${BOOK}/pages/${page} "${text}")
endforeach()
file(GLOB pictures ${SOURCE}/docs/*.svg)
file(COPY ${pictures} DESTINATION ${BOOK}/pages/docs)
file(GLOB manuals ${SOURCE}/docs/man/*)
file(MAKE_DIRECTORY ${BOOK}/pages/docs/man)
foreach(manual IN LISTS manuals)
  cmake_path(GET manual FILENAME name)
  if(MANDOC AND NOT MANDOC MATCHES "NOTFOUND")
    execute_process(COMMAND ${MANDOC} -T html ${manual} OUTPUT_FILE ${BOOK}/pages/docs/man/${name}.html)
  endif()
endforeach()

file(WRITE ${BOOK}/mkdocs.yml "site_name: libcli_engine
docs_dir: pages
site_dir: html
use_directory_urls: false
theme: {name: mkdocs, highlightjs: false}
plugins: [search]
nav:
- First: README.md
- Learning:
  - Twenty minutes: docs/tutorial.md
  - Writing a language: docs/definitions.md
  - What check finds: docs/check-rules.md
  - The router example: examples/router/README.md
- Embedding:
  - In a program: docs/embedding.md
  - In a daemon: docs/daemon.md
  - From Python: bindings/python/README.md
  - Tables: docs/tables.md
- Reference:
  - cli-shell(1): docs/man/cli-shell.1.html
  - cli-definition(5): docs/man/cli-definition.5.html
  - cli_engine(3): docs/man/cli_engine.3.html
  - The router's commands: docs/router-reference.md
- Inside:
  - How it is built: docs/architecture.md
  - What a line costs: docs/performance.md
  - Security: SECURITY.md
  - Contributing: CONTRIBUTING.md
  - Changes: CHANGELOG.md
")
execute_process(COMMAND ${MKDOCS} build --quiet --config-file ${BOOK}/mkdocs.yml COMMAND_ERROR_IS_FATAL ANY)
