// soap/namespaces.cpp: the XML namespaces of the service; the table is generated.
#include "gsoap/symbols.h"

#include <soapServ.nsmap>
