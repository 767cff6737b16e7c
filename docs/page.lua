-- A chapter's title is its heading, and its links to other chapters lead to their pages.

function Link(link)
  link.target = link.target:gsub("%.md$", ".html"):gsub("%.md#", ".html#")
  return link
end

function Pandoc(chapter)
  for _, block in ipairs(chapter.blocks) do
    if block.t == "Header" then
      chapter.meta.pagetitle = pandoc.utils.stringify(block)
      break
    end
  end
  return chapter
end
