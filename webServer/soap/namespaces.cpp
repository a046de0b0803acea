// soap/namespaces.cpp: the XML namespaces of the service; the table is generated.
#include "soap/runtime_symbols.h"

#include <soapServ.nsmap>
