#pragma once

#include <memory>

#include "zforms/acroform/lazy_wrapper.h"
#include "zforms/platform/base/chaine.h"
#include "zforms/platform/base/containers.h"
#include "zforms/platform/base/export.h"

namespace zforms {

class ZPDFNode;
class ZPDFNodeDictionary;

// One entry of an appearance dictionary (ISO 32000-1 12.5.5): the appearance of a widget, either a single stream or one
// stream for each state. These classes are views onto nodes, which the document owns. One thread at a time.
class ZFORMS_API ZAcroFormAppearance {
 public:
  virtual ~ZAcroFormAppearance();
  // True for an AppearanceSingle, false for an AppearanceMulti.
  virtual bool IsSingle() const = 0;
  ZAcroFormAppearance(const ZAcroFormAppearance&) = default;
  ZAcroFormAppearance& operator=(const ZAcroFormAppearance&) = default;

  // Returns an AppearanceMulti for a dictionary, null for a null node, an AppearanceSingle for any other node. The
  // caller owns it.
  static ZAcroFormAppearance* Alloc(ZPDFNode* node);

 protected:
  explicit ZAcroFormAppearance(ZPDFNode* node) : node_(node) {}
  ZPDFNode* Node() const { return node_; }

 private:
  ZPDFNode* node_;
};

// A single appearance: a view onto its stream.
class ZFORMS_API ZAcroFormAppearanceSingle : public ZAcroFormAppearance {
 public:
  ~ZAcroFormAppearanceSingle() override;
  bool IsSingle() const override;
  ZAcroFormAppearanceSingle(const ZAcroFormAppearanceSingle&) = default;
  ZAcroFormAppearanceSingle& operator=(const ZAcroFormAppearanceSingle&) = default;

 protected:
  friend class ZAcroFormAppearance;
  friend class ZAcroFormAppearanceMulti;
  using ZAcroFormAppearance::ZAcroFormAppearance;
};

// Appearances by the name of the state, as in check boxes and radio buttons.
class ZFORMS_API ZAcroFormAppearanceMulti : public ZAcroFormAppearance {
 public:
  // State names, without slash, to appearances.
  using States = FDictionnary<const ZAcroFormAppearanceSingle*>;

  ~ZAcroFormAppearanceMulti() override;
  bool IsSingle() const override;
  ZAcroFormAppearanceMulti(const ZAcroFormAppearanceMulti&) = default;
  ZAcroFormAppearanceMulti& operator=(const ZAcroFormAppearanceMulti&) = default;

  // Built on the first call; the appearances live as long as this object or one of its copies.
  const States& GetAppearances() const;

 protected:
  friend class ZAcroFormAppearance;
  using ZAcroFormAppearance::ZAcroFormAppearance;

 private:
  mutable States states_;
  mutable PTableau<std::shared_ptr<const ZAcroFormAppearanceSingle>> owned_;
};

// A widget's appearance dictionary, "/AP". Each accessor returns null when its key is absent; this object and its
// copies own the results.
class ZFORMS_API ZAcroFormAppearances {
 public:
  using Appearance = ZAcroFormAppearance;
  using AppearanceSingle = ZAcroFormAppearanceSingle;
  using AppearanceMulti = ZAcroFormAppearanceMulti;

  virtual ~ZAcroFormAppearances();
  ZAcroFormAppearances(const ZAcroFormAppearances&) = default;
  ZAcroFormAppearances& operator=(const ZAcroFormAppearances&) = default;

  // "/N".
  const Appearance* NormalAppearance() const;
  // "/R", shown while the pointer is over the widget.
  const Appearance* RolloverAppearance() const;
  bool HasRolloverAppearance() const;
  // "/D", shown while the button is pressed.
  const Appearance* AlternateAppearance() const;
  bool HasAlternateAppearance() const;

 protected:
  friend class LazyWrapper<ZAcroFormAppearances>;
  explicit ZAcroFormAppearances(ZPDFNodeDictionary* dictionary) : dictionary_(dictionary) {}

 private:
  ZPDFNodeDictionary* dictionary_;
  LazyWrapper<Appearance> normal_;
  LazyWrapper<Appearance> rollover_;
  LazyWrapper<Appearance> down_;
};

}  // namespace zforms
