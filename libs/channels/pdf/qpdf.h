#pragma once
/// qpdf's headers, for compilers of both kinds.

#ifdef __clang__
// A class of qpdf holds a vector of itself, which clang instantiates too early for the library of g++ 12. The
// headers below do with its declaration.
#define JSON_HH
#include <qpdf/DLL.h>
#include <qpdf/Types.h>
#include <qpdf/PointerHolder.hh>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>
class JSON;
#endif

#include <qpdf/InputSource.hh>
#include <qpdf/Pl_Flate.hh>
#include <qpdf/Pl_Function.hh>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFExc.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFStreamFilter.hh>
