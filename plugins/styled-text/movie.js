// Shows a movie where styled text has one.
function QT_WriteOBJECT_XHTML(source, width, height) {
    var options = Array.prototype.slice.call(arguments, 3);
    var video = document.createElement("video");
    video.src = source;
    video.width = width;
    video.height = height - 16; // without the room for controls, which lie above the picture
    video.controls = true;
    video.playsInline = true;
    video.preload = "metadata";
    video.autoplay = options[options.indexOf("autoplay") + 1] === "true";
    video.muted = video.autoplay;
    document.currentScript.parentNode.appendChild(video);
}
