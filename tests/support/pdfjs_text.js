// Prints the text of a PDF as it is copied from pdf.js, the reader in browsers: what its text layer
// is made of, page by page. Exit status 77 without pdf.js.
//
//     node pdfjs_text.js FILE.pdf
"use strict";

const fs = require("fs");
const path = require("path");

const folders = ["/usr/share/nodejs/pdfjs-dist", "/usr/share/javascript/pdf"];
const folder = folders.find((name) => fs.existsSync(path.join(name, "build/pdf.js")));
if (folder === undefined) {
  console.error("pdf.js is missing (package libjs-pdf)");
  process.exit(77);
}
const pdfjs = require(path.join(folder, "build/pdf.js"));
pdfjs.GlobalWorkerOptions.workerSrc = path.join(folder, "build/pdf.worker.js");

// the text layer has an element for each item, and a line break where the item ends its line
function copied(content) {
  return content.items.map((item) => item.str + (item.hasEOL ? "\n" : "")).join("");
}

async function print(file) {
  const data = new Uint8Array(fs.readFileSync(file));
  const document = await pdfjs.getDocument({
    data,
    verbosity: pdfjs.VerbosityLevel.ERRORS,
    isEvalSupported: false,
  }).promise;
  for (let number = 1; number <= document.numPages; number += 1) {
    const page = await document.getPage(number);
    process.stdout.write(copied(await page.getTextContent()) + "\n");
  }
}

print(process.argv[2]).catch((error) => {
  console.error(error);
  process.exit(1);
});
