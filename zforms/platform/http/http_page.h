#pragma once

#include <cstddef>
#include <memory>
#include <shared_mutex>
#include <string_view>
#include <vector>

#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"
#include "zforms/platform/http/http_header.h"
#include "zforms/platform/text/inet_url.h"

namespace zforms {

class IHTTPServerPage;
class ZHTTPReadRequest;
class ZHTTPSendResponse;
class ZHTTPServerPageBase;

// One request on its way through a page. The framework calls SetURL,
// SetRequestHeader, SetFullRequest, each only when the one before returned true,
// then SendPage, or SendError when the session is in error: all on one thread,
// with the whole request received. When SendPage sets an error without having
// begun to send, SendError is called after it.
class ZFORMS_API ZHTTPServerPageSession {
 public:
  // The page outlives the session.
  explicit ZHTTPServerPageSession(const ZHTTPServerPageBase* page) : page_(page) {}
  ZHTTPServerPageSession(const ZHTTPServerPageSession&) = delete;
  ZHTTPServerPageSession& operator=(const ZHTTPServerPageSession&) = delete;
  virtual ~ZHTTPServerPageSession();

  // Each returns false when the request cannot be served; the base's do so when
  // the session is in error. A false without a status is 400.
  // The base keeps both, and refuses methods that the page does not take (405).
  virtual bool SetURL(const ZInetURL& url, const Chaine& method);
  virtual bool SetRequestHeader(const ZHTTPHeader& header);
  // The request lives until the session ends.
  virtual bool SetFullRequest(ZHTTPReadRequest& request);
  // Whether the status is an error, 400 or above.
  virtual bool IsInError() const;
  // Sends the small page of the status.
  virtual void SendError(ZHTTPSendResponse& response);
  virtual void SendPage(ZHTTPSendResponse& response) = 0;

  // The request's path and parameters.
  const ZInetURL& URL() const { return url_; }
  const Chaine& Method() const { return method_; }
  // The HTTP status; 200 at first.
  int Status() const { return status_; }
  void SetStatus(int status) { status_ = status; }
  // Sets the status, and says why for the server's log; the client is told the status alone.
  void Refuse(int status, const Chaine& reason);
  // Empty until something is said.
  const Chaine& Reason() const { return reason_; }
  void SetReason(const Chaine& reason) { reason_ = reason; }

 protected:
  // Sends the bytes as a whole body. A file name that is not empty is offered to
  // the client as the name under which to keep it (RFC 6266).
  static bool SendRawData(ZHTTPSendResponse& response, const Chaine& bytes, const Chaine& content_type,
                          const Chaine& file_name);

 private:
  friend class ZHTTPServerPageNode;

  const ZHTTPServerPageBase* page_;
  ZInetURL url_;
  Chaine method_;
  int status_ = 200;
  Chaine reason_;
  // The pages that the request came through, the innermost first; kept alive by it.
  std::vector<std::shared_ptr<IHTTPServerPage>> way_;
};

// What answers at a path. Requests come from several threads at a time.
class ZFORMS_API IHTTPServerPage {
 public:
  using CSessionBase = ZHTTPServerPageSession;

  IHTTPServerPage() = default;
  IHTTPServerPage(const IHTTPServerPage&) = delete;
  IHTTPServerPage& operator=(const IHTTPServerPage&) = delete;
  virtual ~IHTTPServerPage();

  // A session for the request, or null when nothing is served at the path.
  virtual std::unique_ptr<CSessionBase> StartRequest(const ZInetURL& url, const Chaine& method) = 0;
  // Takes back a session that StartRequest gave, once the answer is made.
  virtual void EndRequest(std::unique_ptr<CSessionBase> session) = 0;
};

// A page that serves by sessions of its own kind. It takes the methods named in
// its filter, separated by commas ("GET"), or GET, HEAD and POST when that is
// empty; where it takes GET it takes HEAD, which the framework answers as GET
// without the body.
class ZFORMS_API ZHTTPServerPageBase : public IHTTPServerPage {
 public:
  explicit ZHTTPServerPageBase(const Chaine& methods);
  ~ZHTTPServerPageBase() override;

  std::unique_ptr<CSessionBase> StartRequest(const ZInetURL& url, const Chaine& method) override;
  void EndRequest(std::unique_ptr<CSessionBase> session) override;
  virtual std::unique_ptr<CSessionBase> AllocSession() = 0;

  bool AcceptsMethod(std::string_view method) const;
  // The methods as the field "Allow" lists them.
  Chaine AllowedMethods() const;

 private:
  PTableau<Chaine> methods_;
};

// A page that hands requests on to the pages below it. Pages may be set while
// requests run.
class ZFORMS_API ZHTTPServerPageNode : public IHTTPServerPage {
 public:
  ZHTTPServerPageNode();
  ~ZHTTPServerPageNode() override;

  // Serves the root's path and all paths below it by the page, in place of the
  // page that was set for that root; null ends that. The longest root that fits a
  // request serves it. With `own` the node deletes the page when it is replaced
  // and no request uses it any more; otherwise the page outlives the node.
  void SetPageHandler(const ZInetURL& root, IHTTPServerPage* page, bool own);

  std::unique_ptr<CSessionBase> StartRequest(const ZInetURL& url, const Chaine& method) override;
  void EndRequest(std::unique_ptr<CSessionBase> session) override;

 private:
  struct Root {
    PTableau<Chaine> segments;
    std::shared_ptr<IHTTPServerPage> page;
  };

  std::shared_ptr<IHTTPServerPage> FindPage(const ZInetURL& url) const;

  mutable std::shared_mutex mutex_;
  std::vector<Root> roots_;
};

}  // namespace zforms
