// gsoap/without_iostream.h: the streams of stdsoap2.h without the code at load time that comes with them.
// gSOAP's header includes <iostream>, which starts the standard streams again in every file. Its
// declarations need only the types. The build includes this first in every file.
#pragma once

#include <istream>

#define _GLIBCXX_IOSTREAM 1 // the guard of libstdc++'s <iostream>
