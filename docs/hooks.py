"""Builds the site from the documents as they are. MkDocs calls these functions.

- README.md and other documents outside docs/ become pages, and so do source files to which a document
  links.
- The navigation lists the pages of the reference by task.
- The pictures of docs/pictures/draw.py are at the end of the sections that they explain.
- At the end, every link of the site is checked, with its anchor. Nothing may come from another server.
"""

import html
import json
import logging
import posixpath
import re
import urllib.parse
from html.parser import HTMLParser
from pathlib import Path

from mkdocs.exceptions import PluginError
from mkdocs.structure.files import File

ROOT = Path(__file__).resolve().parent.parent
LINK = re.compile(r'(?<=\]\()([^)\s#]+)(?=[#)])')
LANGUAGES = {'.h': 'c', '.hpp': 'cpp', '.cpp': 'cpp', '.py': 'python', '.sql': 'sql', '.sh': 'sh'}
sources = {}  # the path of each page in the site: its path in the source tree


def pictures_of(config):
    """The folder of the pictures, which is beside the site."""
    return Path(config['site_dir']).parent / 'pictures'


def site_path(path):
    """The path in the site of a file of the source tree."""
    if path == 'README.md':
        return 'tour.md'
    if path.startswith('docs/'):
        return path[len('docs/'):]
    return path.lower() if path.endswith('.md') else f'source/{path}.md'


def outside_fences(markdown, change):
    """Changes the text outside blocks of code."""
    parts = re.split(r'(^```.*?^```$)', markdown, flags=re.MULTILINE | re.DOTALL)
    return ''.join(part if i % 2 else change(part) for i, part in enumerate(parts))


def linked_files(path):
    """The files to which a document of the source tree links."""
    found = set()

    def collect(text):
        for link in LINK.findall(text):
            if ':' not in link:
                found.add(posixpath.normpath(posixpath.join(posixpath.dirname(path), link)))
        return text

    outside_fences((ROOT / path).read_text(), collect)
    return found


def on_config(config):
    tasks = []
    for line in (ROOT / 'docs/reference/README.md').read_text().splitlines():
        if line.startswith('## '):
            tasks.append({line[3:]: []})
        elif found := re.match(r'- \[(\w+)\]\((\w+\.md)\)', line):
            next(iter(tasks[-1].values())).append({found[1]: f'reference/{found[2]}'})
    for entry in config['nav']:
        if 'Reference' in entry:
            entry['Reference'] = [{'All functions': 'reference/README.md'}, *tasks]
    return config


def on_files(files, config):
    for file in list(files):
        if file.src_uri.split('/')[0] in ('pictures', 'theme') or file.src_uri.endswith('.py'):
            files.remove(file)
    waiting = ['README.md', *(f'docs/{file.src_uri}' for file in files.documentation_pages())]
    while waiting:
        path = waiting.pop()
        if path in sources.values() or not (ROOT / path).is_file():
            continue
        uri = site_path(path)
        sources[uri] = path
        if path.endswith('.md'):
            waiting += linked_files(path)
        if not path.startswith('docs/'):
            page = File(uri, str(ROOT), config['site_dir'], use_directory_urls=False)
            page.abs_src_path = str(ROOT / path)
            files.append(page)
    pictures = pictures_of(config)
    for svg in sorted(pictures.glob('*.svg')):
        files.append(File(f'pictures/{svg.name}', str(pictures.parent), config['site_dir'], False))
    return files


def on_page_read_source(page, config):
    path = sources[page.file.src_uri]
    if path.endswith('.md'):
        return None
    text = (ROOT / path).read_text()
    return f'# {path}\n\n``` {LANGUAGES.get(Path(path).suffix, "text")}\n{text}```\n'


def figure(picture, page):
    folder = posixpath.relpath('pictures', posixpath.dirname(page) or '.')
    text = html.escape(picture['text'])
    images = ''.join(
        f'<img src="{folder}/{picture["name"]}{suffix}.svg#only-{kind}" alt="{text}" '
        f'width="{picture["width"]:.0f}" height="{picture["height"]:.0f}">'
        for suffix, kind in [('', 'light'), ('-dark', 'dark')])
    caption = html.escape(picture['caption'])
    return f'<figure class="picture">{images}<figcaption>{caption}</figcaption></figure>\n\n'


def with_picture(markdown, heading, image):
    """The page with a picture at the end of a section, or before the first table of a long one."""
    start = re.search(rf'^#+ {re.escape(heading)}\n', markdown, re.MULTILINE)
    if start is None:
        raise PluginError(f'no section "{heading}" for the picture: {image[:60]}')
    end = re.compile(r'^#+ |\Z', re.MULTILINE).search(markdown, start.end())
    body = markdown[start.end():end.start()]
    place = start.end() + (body.index('\n|') + 1 if body.count('\n|') > 40 else len(body))
    before, after = markdown[:place].rstrip('\n'), markdown[place:]
    return f'{before}\n\n{image}{after}'


def on_page_markdown(markdown, page, config, files):
    path = sources[page.file.src_uri]
    if path == 'docs/index.md':
        page.meta['hide'] = ['navigation']
    here = posixpath.dirname(page.file.src_uri) or '.'

    def resolved(match):
        target = posixpath.normpath(posixpath.join(posixpath.dirname(path), match[1]))
        if ':' in match[1] or not (ROOT / target).is_file():
            return match[1]
        return posixpath.relpath(site_path(target), here)

    if path.endswith('.md'):
        markdown = outside_fences(markdown, lambda text: LINK.sub(resolved, text))
    pictures = pictures_of(config) / 'pictures.json'
    if not pictures.is_file():
        raise PluginError('no pictures: run ./dev docs')
    for picture in json.loads(pictures.read_text()):
        for place, heading in picture['places']:
            if place == page.file.src_uri:
                markdown = with_picture(markdown, heading, figure(picture, place))
    return markdown


def write_offline_search(site):
    """Writes the search as one script, because a page without a server may not read other files."""
    index = (site / 'search/search_index.json').read_text()
    worker = next((site / 'assets/javascripts/workers').glob('search.*.js')).read_text()
    (site / 'search/offline.js').write_text(
        f'var __search = {{index: Promise.resolve({index}),\n'
        f'  worker: URL.createObjectURL(new Blob([{json.dumps(worker)}]))}};\n')


class Links(HTMLParser):
    """The links, the files and the anchors of a page."""

    def __init__(self, text):
        super().__init__()
        self.targets, self.anchors = [], set()
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        values = dict(attributes)
        self.anchors.update(values[name] for name in ('id', 'name') if values.get(name))
        for name in ('href', 'src'):
            if values.get(name):
                self.targets.append((tag, values[name]))


def on_post_build(config):
    site = Path(config['site_dir'])
    write_offline_search(site)
    pages = {page: Links(page.read_text()) for page in site.rglob('*.html') if page.name != '404.html'}
    errors = []
    for page, links in pages.items():
        for tag, target in links.targets:
            parts = urllib.parse.urlsplit(target)
            if parts.scheme or parts.netloc:
                if tag != 'a':
                    errors.append(f'{page.relative_to(site)}: {tag} is on another server: {target}')
                continue
            file = (page.parent / urllib.parse.unquote(parts.path)).resolve() if parts.path else page
            anchor = urllib.parse.unquote(parts.fragment)
            if not file.is_file():
                errors.append(f'{page.relative_to(site)}: no file: {target}')
            elif anchor and file in pages and anchor not in pages[file].anchors:
                errors.append(f'{page.relative_to(site)}: no anchor: {target}')
    if errors:
        raise PluginError('\n'.join(sorted(set(errors))))
    logging.getLogger('mkdocs').info('%d pages, %d links, all of them good', len(pages),
                                     sum(len(links.targets) for links in pages.values()))
