// clsOutput: one output that an instrument drives (an OUTPUT element): the logger output
// channel it is given, program text for its true and false states, and the resources it
// needs with their users.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "corvale/binding/bound_element.h"
#include "corvale/core/object.h"
#include "corvale/resources/logger_resource_list.h"
#include "corvale/resources/logger_resource_users.h"
#include "corvale/xml/xml.h"

namespace corvale {

class clsOutput : public BoundElement {
 public:
  clsOutput();  // bound to a new OUTPUT element holding empty RESOURCES and USERS
  // Bound to an OUTPUT element, as XMLNode(element) binds it.
  explicit clsOutput(xml::Node element);

  using BoundElement::XMLNode;
  // Binds Resources and Users to the element's RESOURCES and USERS, appending empty ones
  // when it has none.
  void XMLNode(xml::Node value) override;
  std::string Description() const;
  void Description(std::string value);
  std::string FalseCode() const;
  void FalseCode(std::string value);
  int16_t Index() const;
  void Index(int16_t value);
  std::string Key() const;
  void Key(std::string value);
  bool KeyUnique() const;
  void KeyUnique(bool value);
  bool LoadToScheme() const;
  void LoadToScheme(bool value);
  // The key of the logger output channel given to this output.
  std::string LoggerChannel() const;
  void LoggerChannel(std::string value);
  std::string Name() const;
  void Name(std::string value);
  std::string Parent() const;
  void Parent(std::string value);
  std::shared_ptr<clsLoggerResourceList> Resources() const;
  std::string TrueCode() const;
  void TrueCode(std::string value);
  std::shared_ptr<clsLoggerResourceUsers> Users() const;

  // Whether the output may be removed with its instrument. An output agrees unless a
  // derived class knows better (for example, one still referred to by a scheme event).
  virtual bool QueryUninstall();

  Variant Invoke(std::string_view member, const Args& args = {}) override;

 private:
  void BindLists();

  std::shared_ptr<clsLoggerResourceList> resources_;
  std::shared_ptr<clsLoggerResourceUsers> users_;
};

using OutputPtr = std::shared_ptr<clsOutput>;

}  // namespace corvale
