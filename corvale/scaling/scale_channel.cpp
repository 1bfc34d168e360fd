#include "corvale/scaling/scale_channel.h"

#include "corvale/binding/node_access.h"
#include "corvale/core/convert.h"
#include "corvale/core/error.h"
#include "corvale/core/member_table.h"
#include "corvale/instruments/inst_channels.h"

namespace corvale {

namespace {

constexpr std::string_view kCodeHeader =
    "; Corvale2.ScaleChannel - Scale to EU\r\n.if pass==INIT_PASS\r\n";
constexpr std::string_view kCodeFooter = ".endif\r\n";

double SetupNumber(const xml::Node& setup, std::string_view path, std::string_view defaultText) {
  return TextToDouble(GetNodeText(setup, path, defaultText));
}

}  // namespace

void ScaleChannel::Install(const ObjectPtr& instrument, const ObjectPtr& scheme) {
  instrument_ = std::dynamic_pointer_cast<IInstrument>(instrument);
  scheme_ = scheme;
}

bool ScaleChannel::Save() {
  const std::shared_ptr<IInstrument> instrument = instrument_.lock();
  if (!instrument) return true;
  const std::shared_ptr<clsInstChannels> channels = instrument->Channels();
  for (int16_t i = 1; channels && i <= channels->Count(); ++i) Scale(*channels->Item(i));
  return true;
}

void ScaleChannel::Scale(clsInstChannel& channel) const {
  const xml::Node setup = GetSetupNode(channel.XMLNode());
  if (SetupNumber(setup, "ENABLESCALE", "") == 0) return;
  double m = SetupNumber(setup, "MULTIPLIER", "1");
  double o = SetupNumber(setup, "OFFSET", "0");
  const double p = SetupNumber(setup, "PRESCALE", "1");

  std::optional<LoggerScaling> logger;
  if (const std::string key = channel.LoggerChannel(); !key.empty()) {
    logger = LoggerChannelScaling(key);
  }
  if (logger) {
    // The logger channel's own scaling is applied to the raw reading first.
    o = logger->offset * m + o;
    m = m * logger->multiplier;
  }

  std::string code;
  if (o != 0 || m != 1) {
    code = "\tMorvaScaleChan " + channel.Alias() + "," + WholeNumberText(m * 1000) + ",1000," +
           WholeNumberText(o) + "\r\n";
    // The program now scales the reading; the channel keeps the prescale alone, less the
    // logger's own multiplier where that is applied again on top.
    if (channel.IgnoreLoggerScaling() || !logger) {
      channel.Multiplier(p);
    } else {
      if (logger->multiplier == 0) throw Error(err::kDivisionByZero);
      channel.Multiplier(p / logger->multiplier);
    }
    channel.Offset(0);
  }
  channel.INPCode(code.empty() ? std::string()
                               : std::string(kCodeHeader) + code + std::string(kCodeFooter));
}

std::optional<ScaleChannel::LoggerScaling> ScaleChannel::LoggerChannelScaling(
    const std::string& key) const {
  const ObjectPtr scheme = scheme_.lock();
  if (!scheme) return std::nullopt;
  try {
    const ObjectPtr logger = scheme->Invoke("Logger").ToObject();
    const ObjectPtr inputs = logger ? logger->Invoke("InputChannels").ToObject() : nullptr;
    // An unknown key raises: that channel is not found.
    const ObjectPtr channel = inputs ? inputs->Invoke("Item", {Variant(key)}).ToObject() : nullptr;
    if (!channel) return std::nullopt;
    return LoggerScaling{channel->Invoke("Multiplier").ToDouble(),
                         channel->Invoke("Offset").ToDouble()};
  } catch (const Error&) {
    return std::nullopt;
  }
}

Variant ScaleChannel::Invoke(std::string_view member, const Args& args) {
  using T = ScaleChannel;
  using M = MemberTable<T>;
  static const M members = {
      {"Install",
       [](T& self, const Args& a) -> Variant {
         ExpectArgs(a, 2);
         self.Install(a[0].ToObject(), a[1].ToObject());
         return {};
       }},
      {"Load", M::Method(&T::Load)},
      {"Save", M::Method(&T::Save)},
      {"QueryUninstall", M::Method(&T::QueryUninstall)},
      {"UnInstall", M::Method(&T::UnInstall)},
  };
  return members.Invoke(*this, member, args);
}

}  // namespace corvale
