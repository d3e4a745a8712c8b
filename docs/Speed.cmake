# Writes the paragraph on speed of each family's page: the rows of docs/performance.md that tell most about it, on one
# thread.

# group of the reference = family in the table = operations, a regular expression
set(families
    "accumulators=Accumulators=8u32f( masked)?$"
    "background=Background=."
    "boundsegments=Watershed=^BoundSegments"
    "canny=Features=^Canny"
    "chamfer=Distances=^[35]x[35]_"
    "compound_morph=Morphology=^Morph"
    "eigenvalues=Features=^(MinEigenVal|EigenVals)"
    "fastmarching=Distances=^FastMarching"
    "fastn=FastN corners=."
    "flood=Flood fill=_8u_"
    "flow=Optical flow=."
    "harris=Features=^Harris"
    "hough=Hough lines=."
    "integral=Summed-area tables=Integral"
    "labels=Labels and speckles=^LabelMarkers"
    "lowpass=Features=^FilterLowpass"
    "morph=Morphology=^Erode (1u_C1|8u_C1|8u_C3|32f_C1), ([35]x[35]|31x31|ellipse 15x15)"
    "norms=Masked norms=_(L2|Inf)_(8u|32f)$"
    "peaks=Features=^FindPeaks"
    "pipelines=Filter pipelines=C1, (5|21) taps"
    "pyramidlayer=Pyramids=^PyramidLayer"
    "reconstruct=Reconstruction=."
    "rectstddev=Summed-area tables=^RectStdDev"
    "segmentgradient=Watershed=^SegmentGradient"
    "speckles=Labels and speckles=^MarkSpeckles"
    "suppression=Features=^LineSuppression"
    "watershed=Watershed=^Watershed")

set(table ${CMAKE_CURRENT_SOURCE_DIR}/performance.md)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${table})
file(READ ${table} text)
# What CMake's lists would take for their own.
string(REPLACE ";" "," text "${text}")
string(REPLACE "[" "(" text "${text}")
string(REPLACE "]" ")" text "${text}")
string(REPLACE "\n" ";" lines "${text}")

string(REGEX MATCH "[|] Processor [|] ([^|]*) [|]" text "${text}")
set(processor "${CMAKE_MATCH_1}")

set(text "")
foreach(entry IN LISTS families)
  string(REGEX MATCH "^([^=]*)=([^=]*)=(.*)$" entry "${entry}")
  set(group ${CMAKE_MATCH_1})
  set(family ${CMAKE_MATCH_2})
  set(wanted "${CMAKE_MATCH_3}")
  set(rows "")
  set(heading "")
  set(threads "")
  foreach(line IN LISTS lines)
    if(line MATCHES "^## (.*)")
      set(heading "${CMAKE_MATCH_1}")
    elseif(line MATCHES "^### (.*)")
      set(threads "${CMAKE_MATCH_1}")
    elseif(heading STREQUAL family AND threads STREQUAL "One thread" AND line MATCHES "^[|] [^-]" AND NOT line MATCHES "^[|] Operation ")
      # operation, size, peer; of each variant our time, the peer's, the ratio, throughput, multiples
      string(REGEX REPLACE "^[|] | [|]$" "" line "${line}")
      string(REPLACE " | " ";" cells "${line}")
      list(GET cells 0 operation)
      if(operation MATCHES "${wanted}")
        list(GET cells 1 size)
        list(GET cells 2 peer)
        list(GET cells 3 v3)
        list(GET cells 5 v3Ratio)
        list(GET cells 8 base)
        list(GET cells 10 baseRatio)
        string(APPEND rows " * | ${operation} | ${size} | `${peer}` | ${v3} | ${v3Ratio} | ${base} | ${baseRatio} |\n")
      endif()
    endif()
  endforeach()
  if(rows STREQUAL "")
    message(STATUS "docs/performance.md has no row for the page of ${group}")
    continue()
  endif()
  string(
    APPEND
    text
    "/** @addtogroup ${group}\n * @details\n"
    " * **Speed.** One thread on this machine: ${processor}. A ratio above 1 is our lead over\n"
    " * the peer. [Performance](@ref md_docs_performance) has all rows and tells how they are measured.\n *\n"
    " * | operation | size | peer | v3, us | ratio | SSSE3, us | ratio |\n"
    " * | --------- | ---- | ---- | -----: | ----: | --------: | ----: |\n"
    "${rows} */\n\n")
endforeach()
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/speed.dox "${text}")
