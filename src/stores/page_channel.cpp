#include "stores/page_channel.h"

#include "platform/base_services.h"

namespace quillbay {

std::string openPageChannel(IApp* app, const PageTarget& target, KxColorSpace colorSpace,
                            KxPtr<IKxFileChanel>* out) {
  if (target.path.empty())
    return Supp_Translate("There is no file name for the page: choose a folder and a name, and scan again.");
  const auto params = query<IIOParams>(app);
  if (!params) return Supp_Translate("The program has no settings for file formats, so no file can be written.");
  auto channel = new_FileChanel(params.get(), target.path, nullptr, nullptr);
  if (!channel) return Supp_Translate("No file format has this extension: choose another one.");
  channel->SetTarget(target);

  int accepted = 0;
  if (target.joinsPart) {
    const auto paged = channel.as<IKxRasterSavePagedChanel>();
    if (!paged) return Supp_Translate("The file format has one page: choose one with several, or single files.");
    accepted = paged->AcceptColorSpace(colorSpace);
  } else {
    const auto save = channel.as<IKxRasterSaveFileChanel>();
    if (!save) return Supp_Translate("The file format cannot be written: choose another one.");
    accepted = save->AcceptColorSpace(colorSpace);
  }
  if (accepted == 0)
    return Supp_Translate("The file format does not take these colours: choose another format or scan mode.");
  *out = std::move(channel);
  return {};
}

int savePageRaster(IKxFileChanel* channel, bool joinsPart, IRStor* raster, IProgress* progress) {
  return joinsPart ? query<IKxRasterSavePagedChanel>(channel)->Save(raster, progress)
                   : query<IKxRasterSaveFileChanel>(channel)->Save(raster, progress);
}

std::string textWithFile(const std::string& file, const std::string& text) {
  if (file.empty() || text.find(fio::fileNameOf(file)) != std::string::npos) return text;
  return formatText(Supp_Translate("Writing %s failed: %s"), {file, text});
}

}  // namespace quillbay
