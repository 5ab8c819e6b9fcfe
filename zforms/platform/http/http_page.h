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

// The handling of one request by a page. The framework calls SetURL, SetRequestHeader and SetFullRequest, each only
// when the previous one returned true, then SendPage, or SendError when the session is in error. All calls are made on
// one thread, after the whole request was received. When SendPage sets an error before it begins to send, SendError is
// called after it.
class ZFORMS_API ZHTTPServerPageSession {
 public:
  // The page must outlive the session.
  explicit ZHTTPServerPageSession(const ZHTTPServerPageBase* page) : page_(page) {}
  ZHTTPServerPageSession(const ZHTTPServerPageSession&) = delete;
  ZHTTPServerPageSession& operator=(const ZHTTPServerPageSession&) = delete;
  virtual ~ZHTTPServerPageSession();

  // Each returns false when the request cannot be served; the base class does so when the session is in error. When one
  // returns false without an error status, the status becomes 400. The base class stores both arguments and refuses
  // methods that the page does not accept (405).
  virtual bool SetURL(const ZInetURL& url, const Chaine& method);
  virtual bool SetRequestHeader(const ZHTTPHeader& header);
  // The request is valid until the session ends.
  virtual bool SetFullRequest(ZHTTPReadRequest& request);
  // True when the status is an error, 400 or above.
  virtual bool IsInError() const;
  // Sends the short error page of the status.
  virtual void SendError(ZHTTPSendResponse& response);
  virtual void SendPage(ZHTTPSendResponse& response) = 0;

  // The request's path and parameters.
  const ZInetURL& URL() const { return url_; }
  const Chaine& Method() const { return method_; }
  // The HTTP status; 200 at first.
  int Status() const { return status_; }
  void SetStatus(int status) { status_ = status; }
  // Sets the status, and the reason for the server's log. The client gets the status only.
  void Refuse(int status, const Chaine& reason);
  // Empty until a reason is set.
  const Chaine& Reason() const { return reason_; }
  void SetReason(const Chaine& reason) { reason_ = reason; }

 protected:
  // Sends the bytes as a whole body. A file name that is not empty is sent as the name under which the client may save
  // it (RFC 6266).
  static bool SendRawData(ZHTTPSendResponse& response, const Chaine& bytes, const Chaine& content_type,
                          const Chaine& file_name);

 private:
  friend class ZHTTPServerPageNode;

  const ZHTTPServerPageBase* page_;
  ZInetURL url_;
  Chaine method_;
  int status_ = 200;
  Chaine reason_;
  // The pages that the request passed through, the innermost first. Keeps them alive.
  std::vector<std::shared_ptr<IHTTPServerPage>> way_;
};

// A handler of the requests for a path. Called by several threads at a time.
class ZFORMS_API IHTTPServerPage {
 public:
  using CSessionBase = ZHTTPServerPageSession;

  IHTTPServerPage() = default;
  IHTTPServerPage(const IHTTPServerPage&) = delete;
  IHTTPServerPage& operator=(const IHTTPServerPage&) = delete;
  virtual ~IHTTPServerPage();

  // A session for the request, or null when nothing is served at the path.
  virtual std::unique_ptr<CSessionBase> StartRequest(const ZInetURL& url, const Chaine& method) = 0;
  // Destroys a session made by StartRequest, after the answer is complete.
  virtual void EndRequest(std::unique_ptr<CSessionBase> session) = 0;
};

// A page that handles requests by sessions of its own class. It accepts the methods in its filter, separated by commas
// ("GET"); an empty filter means GET, HEAD and POST. A page that accepts GET accepts HEAD too, which the framework
// answers like GET without the body.
class ZFORMS_API ZHTTPServerPageBase : public IHTTPServerPage {
 public:
  explicit ZHTTPServerPageBase(const Chaine& methods);
  ~ZHTTPServerPageBase() override;

  std::unique_ptr<CSessionBase> StartRequest(const ZInetURL& url, const Chaine& method) override;
  void EndRequest(std::unique_ptr<CSessionBase> session) override;
  virtual std::unique_ptr<CSessionBase> AllocSession() = 0;

  bool AcceptsMethod(std::string_view method) const;
  // The methods in the format of the field "Allow".
  Chaine AllowedMethods() const;

 private:
  PTableau<Chaine> methods_;
};

// A page that passes requests to the pages below it. Pages may be set while requests run.
class ZFORMS_API ZHTTPServerPageNode : public IHTTPServerPage {
 public:
  ZHTTPServerPageNode();
  ~ZHTTPServerPageNode() override;

  // Sets the page that serves the root's path and all paths below it; replaces the page that was set for that root.
  // Null removes it. When several roots fit a request, the longest one serves it. With `own` the node deletes the page
  // when it is replaced and no request uses it any more; otherwise the page must outlive the node.
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
