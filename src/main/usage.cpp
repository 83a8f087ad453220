#include "main/usage.h"

#include "util/print.h"

namespace sourcetype {

int printUsage(std::string_view programName) {
  printText(
      "Usage \n\n"
      "    To learn: \n"
      "        {0} <file> <sourcetype>\n"
      "        e.g., {0} wl3_log.log weblogic \n"
      "        To change the attributes for a sourcetype, edit props.conf.\n\n"
      "    To test: \n"
      "        {0} <file>\n\n"
      "        {0} --test --file=<file> [options]\n\n"
      "\t\t options are added to the PropertiesMap passed as input to the classifier, this\n"
      "\t\t is useful for passing 'given_type' in the same way as it is done during indexing\n"
      "\t\t option format: --<field-name>=<value>, eg. --given_type=access_combined\n",
      programName);
  return 1;
}

}  // namespace sourcetype
