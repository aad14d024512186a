#include "QxKinds.h"

#include "QxAfterCall.h"
#include "QxBeforeCall.h"
#include "QxCallLocation.h"
#include "QxCompCallArg.h"
#include "QxCompressedBuffer.h"
#include "QxCompressedItem.h"
#include "QxFormat.h"
#include "QxHeader.h"
#include "QxIPCCaller.h"
#include "QxLogItem.h"
#include "QxPersistentBuffer.h"
#include "QxProxyMarker.h"
#include "QxScriptScenario.h"
#include "QxScriptSession.h"
#include "QxScriptWords.h"
#include "QxThreadBuffer.h"
#include "QxThreadData.h"
#include "QxThreadProperties.h"
#include "QxTimeMaker.h"

qxkinds::ByTag<IQxBuffer> qxkinds::MakeBuffers() {
    ByTag<IQxBuffer> buffers;
    buffers[qxformat::kThreadBuffer] = std::make_unique<QxThreadBuffer>();
    buffers[qxformat::kPersistentBuffer] = std::make_unique<QxPersistentBuffer>();
    buffers[qxformat::kThreadProperties] = std::make_unique<QxThreadProperties>();
    buffers[qxformat::kCompressedBuffer] = std::make_unique<QxCompressedBuffer>();
    return buffers;
}

qxkinds::ByTag<IQxItem> qxkinds::MakeItems() {
    ByTag<IQxItem> items;
    items[qxformat::kLogItem] = std::make_unique<QxLogItem>();
    items[qxformat::kBeforeCall] = std::make_unique<QxBeforeCall>();
    items[qxformat::kAfterCall] = std::make_unique<QxAfterCall>();
    items[qxformat::kCallLocation] = std::make_unique<QxCallLocation>();
    items[qxformat::kIPCCaller] = std::make_unique<QxIPCCaller>();
    items[qxformat::kThreadData] = std::make_unique<QxThreadData>();
    items[qxformat::kHeader] = std::make_unique<QxHeader>();
    items[qxformat::kProxyMarker] = std::make_unique<QxProxyMarker>();
    items[qxformat::kCompressedItem] = std::make_unique<QxCompressedItem>();
    items[qxformat::kCompCallArg] = std::make_unique<QxCompCallArg>();
    items[qxformat::kTimeMarker] = std::make_unique<QxTimeMaker>();
    return items;
}

std::unordered_map<std::string, std::unique_ptr<IQxScript>> qxkinds::MakeScripts() {
    std::unordered_map<std::string, std::unique_ptr<IQxScript>> scripts;
    scripts[qxscript::kScenario] = std::make_unique<QxScriptScenario>();
    scripts[qxscript::kSession] = std::make_unique<QxScriptSession>();
    return scripts;
}
