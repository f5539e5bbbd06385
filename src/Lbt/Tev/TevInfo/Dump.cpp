#include "DumpWriter.h"
#include "Lbt/Tev/TevInfo/TevInfo.h"

void TevInfo::printData(std::ostream& os) const { DumpWriter(datasets, os).WriteAll(); }

void TevInfo::printAnalysis(std::ostream& os, const std::string& group,
                            const std::vector<std::size_t>& indices) const {
  DumpWriter(datasets, os).WriteAnalysis(group, indices);
}

void TevInfo::printMesh(std::ostream& os, const std::vector<std::size_t>& indices) const {
  DumpWriter(datasets, os).WriteMesh(indices);
}

void TevInfo::printResults(std::ostream& os,
                           const std::map<std::string, std::vector<std::size_t>>& /*byResult*/,
                           const std::map<std::string, std::vector<std::size_t>>& byInstance,
                           std::size_t nodeCount) const {
  DumpWriter(datasets, os).WriteResults(byInstance, nodeCount);
}
