#include "DumpWriter.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"

void TevInfo::printData(std::ostream& os) const {
  DumpWriter writer(datasets, os);
  writer.WriteAll();
  writer.Finish();
}

void TevInfo::printAnalysis(std::ostream& os, const std::string& group,
                            const std::vector<std::size_t>& indices) const {
  DumpWriter writer(datasets, os);
  writer.WriteAnalysis(group, indices);
  writer.Finish();
}

void TevInfo::printMesh(std::ostream& os, const std::vector<std::size_t>& indices) const {
  DumpWriter writer(datasets, os);
  writer.WriteMesh(indices);
  writer.Finish();
}

void TevInfo::printResults(std::ostream& os,
                           const std::map<std::string, std::vector<std::size_t>>& /*byResult*/,
                           const std::map<std::string, std::vector<std::size_t>>& byInstance,
                           std::size_t nodeCount) const {
  DumpWriter writer(datasets, os);
  writer.WriteResults(byInstance, {}, nodeCount);
  writer.Finish();
}
