#pragma once

/// \file
/// All public headers of `libKYRZoviLib`, for a file that does not choose:
///
///     #include <ZoviLib.h>
///
/// A file that needs few of them compiles faster with those alone.

#include "Command/HttpRequest.h"
#include "Command/HttpResponse.h"
#include "Command/Query/ExpandParameter.h"
#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "Command/Query/QueryParameter.h"
#include "Command/Query/SortingParameter.h"
#include "Command/Query/ValueSearch.h"
#include "Command/QueryFilterJSON.h"
#include "Command/RequestBase.h"
#include "Command/ResponseObject.h"
#include "Command/SortingFilter.h"
#include "Command/UrlPath.h"
#include "Command/WebSocketRequestObject.h"
#include "Command/WebSocketResponseObject.h"
#include "Data/AttributeBase.h"
#include "Data/AttributeContainer.h"
#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"
#include "Data/AttributeValueBase.h"
#include "Data/ElementBase.h"
#include "Data/ResourceBase.h"
#include "Data/ServiceBase.h"
#include "Data/XObjectBase.h"
#include "Data/XObjectGeneric.h"
#include "Data/XObjectId.h"
#include "Data/ZoviDataUtil.h"
#include "Http/ZoviHttpCacheHandler.h"
#include "MicroServiceInfo.h"
#include "ServiceRegistryConnection.h"
#include "ZoviExport.h"
