#include "moresc/ProxyKinds.h"

namespace {

const ProxyKind kProxyKinds[] = {
    {"web", &MoreSCProxiesDigest::HTTPEnable, &MoreSCProxiesDigest::HTTPProxy, &MoreSCProxiesDigest::HTTPPort,
     kSCPropNetProxiesHTTPEnable, kSCPropNetProxiesHTTPProxy, kSCPropNetProxiesHTTPPort},
    {"secure-web", &MoreSCProxiesDigest::HTTPSEnable, &MoreSCProxiesDigest::HTTPSProxy,
     &MoreSCProxiesDigest::HTTPSPort, kSCPropNetProxiesHTTPSEnable, kSCPropNetProxiesHTTPSProxy,
     kSCPropNetProxiesHTTPSPort},
    {"ftp", &MoreSCProxiesDigest::FTPEnable, &MoreSCProxiesDigest::FTPProxy, &MoreSCProxiesDigest::FTPPort,
     kSCPropNetProxiesFTPEnable, kSCPropNetProxiesFTPProxy, kSCPropNetProxiesFTPPort},
    {"socks", &MoreSCProxiesDigest::SOCKSEnable, &MoreSCProxiesDigest::SOCKSProxy, &MoreSCProxiesDigest::SOCKSPort,
     kSCPropNetProxiesSOCKSEnable, kSCPropNetProxiesSOCKSProxy, kSCPropNetProxiesSOCKSPort},
    {"streaming", &MoreSCProxiesDigest::RTSPEnable, &MoreSCProxiesDigest::RTSPProxy, &MoreSCProxiesDigest::RTSPPort,
     kSCPropNetProxiesRTSPEnable, kSCPropNetProxiesRTSPProxy, kSCPropNetProxiesRTSPPort},
    {"gopher", &MoreSCProxiesDigest::GopherEnable, &MoreSCProxiesDigest::GopherProxy,
     &MoreSCProxiesDigest::GopherPort, kSCPropNetProxiesGopherEnable, kSCPropNetProxiesGopherProxy,
     kSCPropNetProxiesGopherPort},
};

}  // namespace

std::span<const ProxyKind> AllProxyKinds() { return kProxyKinds; }
