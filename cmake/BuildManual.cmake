# Builds the HTML manual from its Markdown (cmake -P): cmark converts the text, the parameter
# table (made by param-table --html from the parameter definitions) takes the place of the
# paragraph that links parameters.md, the second-level headings get anchors and a table of
# contents, and the pictures the text uses are copied beside it.
#   -DCMARK=... -DMARKDOWN=docs/manual/manual.md -DPARAMETERS=params.html -DSTYLESHEET=manual.css
#   -DIMAGES=docs/images -DVERSION=1.0.0.0 -DOUT=build/resources/manual
execute_process(COMMAND "${CMARK}" --unsafe "${MARKDOWN}" OUTPUT_VARIABLE body RESULT_VARIABLE failed)
if(failed)
    message(FATAL_ERROR "cmark failed on ${MARKDOWN}")
endif()
file(READ "${PARAMETERS}" table)

# The paragraph that points Markdown readers at parameters.md becomes the table itself.
string(FIND "${body}" "<a href=\"parameters.md\">" link)
if(link LESS 0)
    message(FATAL_ERROR "${MARKDOWN} no longer links parameters.md: the parameter table has no place")
endif()
string(SUBSTRING "${body}" 0 ${link} before)
string(FIND "${before}" "<p>" start REVERSE)
string(SUBSTRING "${body}" ${link} -1 after)
string(FIND "${after}" "</p>" end)
math(EXPR end "${link} + ${end} + 4")
string(SUBSTRING "${body}" 0 ${start} head)
string(SUBSTRING "${body}" ${end} -1 tail)
set(body "${head}${table}${tail}")

# Anchors and the table of contents.
string(REGEX MATCHALL "<h2>[^<]*</h2>" headings "${body}")
set(contents "")
foreach(heading IN LISTS headings)
    string(REGEX REPLACE "</?h2>" "" title "${heading}")
    string(TOLOWER "${title}" slug)
    string(REGEX REPLACE "[^a-z0-9]+" "-" slug "${slug}")
    string(REGEX REPLACE "^-+|-+$" "" slug "${slug}")
    string(REPLACE "${heading}" "<h2 id=\"${slug}\">${title}</h2>" body "${body}")
    string(APPEND contents "<li><a href=\"#${slug}\">${title}</a></li>")
endforeach()
string(REGEX REPLACE "</h1>" "</h1>\n<nav class=\"contents\"><ol>${contents}</ol></nav>" body "${body}")

# Pictures: the Markdown refers to them from docs/manual, the HTML from its own folder.
string(REPLACE "src=\"../images/" "src=\"images/" body "${body}")
string(REGEX MATCHALL "src=\"images/[^\"]+\"" pictures "${body}")
file(REMOVE_RECURSE "${OUT}/images")
foreach(picture IN LISTS pictures)
    string(REGEX REPLACE "src=\"images/([^\"]+)\"" "\\1" name "${picture}")
    file(COPY "${IMAGES}/${name}" DESTINATION "${OUT}/images")
endforeach()

file(COPY "${STYLESHEET}" DESTINATION "${OUT}")
get_filename_component(css "${STYLESHEET}" NAME)
file(WRITE "${OUT}/index.html" "<!DOCTYPE html>
<html lang=\"en\">
<head>
<meta charset=\"utf-8\">
<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">
<title>Orrin Upmix ${VERSION} manual</title>
<link rel=\"stylesheet\" href=\"${css}\">
</head>
<body>
${body}
<footer>Orrin Upmix ${VERSION} by Kestro Audio</footer>
</body>
</html>
")
