# Not tested here: nothing in this project runs bitbake.
SUMMARY = "Common base library of an embedded middleware framework"
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# The sources are those that this recipe lies in; a layer with a copy of it says where they are.
inherit cmake externalsrc
EXTERNALSRC ?= "${THISDIR}/../.."

DEPENDS = "spdlog"
EXTRA_OECMAKE = "-DZELCOMMON_HARDENED=ON -DZEL_TRACE_WITH_SPDLOG=ON"
PACKAGECONFIG[dlt] = "-DZEL_TRACE_WITH_DLT=ON,-DZEL_TRACE_WITH_DLT=OFF,dlt-daemon"
# The library is for a 32-bit time_t.
GLIBC_64BIT_TIME_FLAGS = ""

PACKAGES =+ "libzelposix libtracing-impl libtracing-impl-dlt ${PN}-tools"
FILES:libzelposix = "${libdir}/libzelposix.so.*"
FILES:libtracing-impl = "${libdir}/libtracing-impl.so.*"
FILES:libtracing-impl-dlt = "${libdir}/libtracing-impl-dlt.so"
FILES:${PN}-tools = "${bindir}/zel-tracectl"
FILES:${PN}-dev += "${datadir}/gdb"
