#include "parser/cbkrequest.h"

CbkRequest::CbkRequest() : attributeName("") { mrSetNames.resize(0); }

void CbkRequest::SetVarInfoRequest(bool position, bool label, bool type, bool format, bool measure,
                                   bool role, bool attributes, bool valueLabels, bool missing,
                                   bool reservedAttributes) {
  varPosition = position;
  varLabel = label;
  varType = type;
  varFormat = format;
  varMeasure = measure;
  varRole = role;
  varAttributes = attributes;
  varValueLabels = valueLabels;
  varMissing = missing;
  varReservedAttributes = reservedAttributes;
}

void CbkRequest::SetFileInfoRequest(bool name, bool location, bool caseCount, bool label,
                                    bool attribute, bool documents, bool weight,
                                    bool reservedAttributes) {
  fileName = name;
  fileLocation = location;
  fileCaseCount = caseCount;
  fileLabel = label;
  fileAttribute = attribute;
  fileDocuments = documents;
  fileWeight = weight;
  fileReservedAttributes = reservedAttributes;
}

void CbkRequest::SetStatsNone(bool none) {
  statsNone = none;
  if (none) SetStatsRequest(false, false, false, false, false);
}

void CbkRequest::SetStatsRequest(bool count, bool percent, bool mean, bool stdDev, bool quartiles) {
  statsCount = count;
  statsPercent = percent;
  statsMean = mean;
  statsStdDev = stdDev;
  statsQuartiles = quartiles;
}
