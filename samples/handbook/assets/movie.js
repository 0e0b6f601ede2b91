// Shows a movie where the script stands: QT_WriteOBJECT_XHTML(src, width, height, version, name, value, ...).
// The height has room for a controller of 16 points below the picture; browsers lay theirs over it.
function QT_WriteOBJECT_XHTML(src, width, height, version, ...pairs) {
    const controller = 16;
    const video = document.createElement("video");
    video.controls = true;
    video.preload = "auto"; // shows the first picture
    video.src = src;
    video.width = Number(width);
    video.height = Math.max(Number(height) - controller, controller);
    for (let i = 0; i + 1 < pairs.length; i += 2) {
        if (pairs[i] === "autoplay" && pairs[i + 1] === "true") {
            video.muted = true; // or browsers refuse to start it
            video.autoplay = true;
        }
    }
    const link = document.createElement("a");
    link.href = src;
    link.textContent = "Download the movie";
    video.append(link);
    video.addEventListener("error", () => video.replaceWith(link)); // a format that the browser cannot play
    document.currentScript.after(video);
}
